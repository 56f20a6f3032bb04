// SPDX-License-Identifier: GPL-2.0-or-later
//
// Waits until no signal has come for a while, then has the queue processed.
#pragma once

#include <signal.h>
#include <stdint.h>
#include <time.h>

// Written by the handler of SIGUSR1 and by the loop; nothing else is shared between them.
extern volatile sig_atomic_t dirty;
extern volatile sig_atomic_t pending;
extern volatile sig_atomic_t signal_count; // signals since the last run

// When the databases were last vacuumed, in seconds of the epoch.
extern time_t last_vacuum;

// Notes that work has been queued. Handler of SIGUSR1.
void SetDirty(int signal_number);

// Compacts both databases and remembers when.
void DatabasesVacuum();

// The clock by which requests that had to wait are tried again, in milliseconds.
extern int64_t (*main_loop_clock)();

// What follows a wake-up.
enum class WakeUp { wait, process, retry };

// Looks at the flags after a sleep, and vacuums when that is due. Returns `process`, with the flags cleared, after a quiet
// sleep: the queue is to be processed now; `retry` when it is time to try again what the last run had to leave.
WakeUp WakeUpHandle(time_t now);

// Processes the queue, and notes when what had to wait is to be tried again.
void QueueRun();

// Tries again what had to wait, and notes when the next time is.
void QueueRetry();

// Sleeps and processes without an end.
[[noreturn]] void MainLoop();
