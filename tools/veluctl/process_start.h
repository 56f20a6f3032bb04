// SPDX-License-Identifier: GPL-2.0-or-later
//
// Since when a process runs, and whether it has something to do.
#pragma once

#include <sys/types.h>
#include <time.h>

// Returns when a process was started, in seconds of the epoch; 0 when that is not known.
time_t ProcessStart(pid_t pid);

// True for one that computes, or waits for something else than time; false also when this user may not see it.
[[nodiscard]] bool ProcessIsAtWork(pid_t pid);
