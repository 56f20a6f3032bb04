// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the kernel grants a process that reads hostile files.
#pragma once

#include <sys/resource.h>

#include <algorithm>

// Lowers a limit of this process for good; one that is lower already stays.
inline void ProcessLimit(__rlimit_resource resource, rlim_t value) {
    rlimit limit = {};
    if (getrlimit(resource, &limit) != 0)
        return;
    limit.rlim_max = std::min(limit.rlim_max, value);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(resource, &limit);
}
