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

// Milliseconds, by which work that is left comes to its turn.
extern int64_t (*main_loop_clock)();

// What follows a wake-up.
enum class WakeUp { wait, process, retry };

// Looks at the flags after a sleep, and vacuums when that is due. Returns `process`, with the flags cleared, when the
// queue is to be processed now, after a quiet sleep; `retry` when it is time to try work again that a run had to leave.
WakeUp WakeUpHandle(time_t now);

// Processes the queue and remembers when work that is left is to be tried again.
void QueueRun();

// Tries such work again.
void QueueRetry();

// Sleeps and processes without an end.
[[noreturn]] void MainLoop();
