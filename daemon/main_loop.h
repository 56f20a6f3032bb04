// SPDX-License-Identifier: GPL-2.0-or-later
//
// The daemon's waiting: signals are gathered until they have stopped for a while, then the queue is
// processed.
#pragma once

#include <signal.h>
#include <time.h>

// Written by the handler of SIGUSR1 and by the loop; nothing else is shared between them.
extern volatile sig_atomic_t dirty;
extern volatile sig_atomic_t pending;
extern volatile sig_atomic_t signal_count; // signals since the last run

// When the databases were last vacuumed, in seconds of the epoch.
extern time_t last_vacuum;

// Handler of SIGUSR1: work has been queued.
void SetDirty(int signal_number);

// Compacts both databases and remembers when.
void DatabasesVacuum();

// What is to follow one wake-up.
enum class WakeUp { wait, process };

// Looks at the flags after a sleep. Vacuums that fall due are done here. `process`: the flags are cleared and
// the queue is to be processed now. Work that a run had to leave is taken up again without a signal.
WakeUp WakeUpHandle(time_t now);

// Processes the queue and remembers when work that is left is to be tried again.
void QueueRun();

// Sleeps and processes for ever.
[[noreturn]] void MainLoop();
