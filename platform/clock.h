// SPDX-License-Identifier: GPL-2.0-or-later
//
// The clock for spans of time: it only goes forward, whatever is done to the time of day.
#pragma once

#include <stdint.h>
#include <time.h>

// Returns milliseconds since some moment before the program began.
inline int64_t MonotonicMilliseconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}
