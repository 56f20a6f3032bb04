// SPDX-License-Identifier: GPL-2.0-or-later
//
// The watchdog over a child process: bounds for its time and its memory.
#pragma once

#include <sys/types.h>

// What the watchdog looks at; the defaults are the ones for use.
struct ChildWatch {
    long interval_nsec = 100000000; // between two looks at the child; below one second
    const char *memory_file = "/proc/meminfo";
};

// Waits for the child to end. Returns its exit status, or -1 (logged) when it was ended by a signal or had to
// be killed: at the 902nd look, but not before 900 intervals have passed, or when its memory exceeds the limit. The
// child is reaped in any case.
int ChildProcessWatch(pid_t pid, const ChildWatch &watch = {});

// Returns 1 when the resident memory of the process exceeds half of the machine's, 0 also when that cannot be
// told.
int ChildMemoryExceeded(pid_t pid, const char *memory_file = ChildWatch().memory_file);

// Kills the child and reaps it.
void ChildKill(pid_t pid);
