// SPDX-License-Identifier: GPL-2.0-or-later
//
// The clock for spans of time, which only goes forward, whatever is done to the time of day; and the time of day.
#pragma once

#include <stdint.h>
#include <time.h>

// Returns the second of the time of day. The times that a file system gives may be ahead of what time() tells, which lags behind
// by up to a tick; they are never ahead of this.
inline time_t SecondNow() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

// Returns milliseconds since some moment before the program began.
inline int64_t MonotonicMilliseconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}
