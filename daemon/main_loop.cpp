// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/main_loop.h"

#include <syslog.h>
#include <unistd.h>

#include "daemon/queue.h"
#include "platform/veluindex.h"

volatile sig_atomic_t dirty = 0;
volatile sig_atomic_t pending = 0;
volatile sig_atomic_t signal_count = 0;
time_t last_vacuum = 0;

namespace {

constexpr char kLogName[] = "veluindexd.c";

// The quiet time that must follow the last signal, in seconds: whole copies of albums end in one run.
constexpr unsigned kQuietSleep = 10;

// A writer that signals without a pause must not hold the queue back for ever.
constexpr sig_atomic_t kSignalsForced = 9999;

// An appliance in daily use compacts its databases about twice a day.
constexpr double kVacuumHours = 12.0;
constexpr double kSecondsPerHour = 3600.0;

int retry_wake_ups = 0; // until work that is left is tried again; 0 when none is

void FlagsClear() {
    dirty = 0;
    pending = 0;
}

} // namespace

void SetDirty(int) {
    dirty = 1;
    pending = 1;
    signal_count = signal_count + 1;
}

void DatabasesVacuum() {
    last_vacuum = time(nullptr);
    if (MediaDBVacuum() < 0)
        syslog(LOG_ERR, "%s (%d) vaccuum mediaserver failed.", kLogName, __LINE__);
    if (PhotoDBVacuum() < 0)
        syslog(LOG_ERR, "%s (%d) vaccuum photodb failed.", kLogName, __LINE__);
}

WakeUp WakeUpHandle(time_t now) {
    if (dirty == pending) {
        if (pending) {
            pending = 0; // a signal came in during this sleep: wait for a quiet one
            return WakeUp::wait;
        }
        return retry_wake_ups > 0 && --retry_wake_ups == 0 ? WakeUp::process : WakeUp::wait;
    }
    if (pending) {
        dirty = 1;
        return WakeUp::wait;
    }
    signal_count = 0;
    if (static_cast<double>(now - last_vacuum) / kSecondsPerHour > kVacuumHours)
        DatabasesVacuum();
    FlagsClear();
    return WakeUp::process;
}

void QueueRun() {
    retry_wake_ups = IndexQueueProcess();
}

void MainLoop() {
    for (;;) {
        sleep(kQuietSleep);
        if (signal_count > kSignalsForced) {
            signal_count = 0;
            DatabasesVacuum();
            FlagsClear();
            QueueRun();
        }
        if (WakeUpHandle(time(nullptr)) == WakeUp::process)
            QueueRun();
    }
}
