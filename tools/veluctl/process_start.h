// SPDX-License-Identifier: GPL-2.0-or-later
//
// Since when a process runs.
#pragma once

#include <sys/types.h>
#include <time.h>

// In seconds of the epoch; 0 when it is not known.
time_t ProcessStart(pid_t pid);
