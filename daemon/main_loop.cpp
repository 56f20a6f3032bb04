// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/main_loop.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "catalogue/file_readers.h"
#include "daemon/queue.h"
#include "daemon/quiet_interval.h"
#include "platform/clock.h"
#include "platform/limits.h"
#include "platform/veluindex.h"

volatile sig_atomic_t dirty = 0;
volatile sig_atomic_t pending = 0;
volatile sig_atomic_t signal_count = 0;
time_t last_vacuum = 0;

namespace {

constexpr char kLogName[] = "veluindexd.c";

// A writer that signals without a pause must not hold the queue back for ever.
constexpr sig_atomic_t kSignalsForced = 9999;

// An appliance in daily use compacts its databases about twice a day.
constexpr double kVacuumHours = 12.0;
constexpr double kSecondsPerHour = 3600.0;

// When requests that had to wait are tried again, by main_loop_clock; kNever when there are none. `retry_pause` is how long
// they wait this time.
constexpr int64_t kNever = std::numeric_limits<int64_t>::max();
int64_t retry_at = kNever;
int64_t retry_pause = 0;
QueueOccasion retry_occasion = QueueOccasion::again;

void FlagsClear() {
    dirty = 0;
    pending = 0;
}

// A queue that had to wait is taken at once. What could not be stored is tried at longer and longer intervals, which
// begin anew when more has come to it.
void RetryPlan(const QueueLeft &left) {
    if (!left.waits)
        retry_pause = 0;
    else if (left.waits_newly || retry_pause == 0)
        retry_pause = kQueueRetryFirst;
    else
        retry_pause = std::min(retry_pause * 2, kQueueRetryLast);
    retry_at = left.waits ? main_loop_clock() + retry_pause : kNever;
    retry_occasion = QueueOccasion::again;
    if (!left.queue_waits)
        return;
    retry_at = main_loop_clock();
    retry_occasion = QueueOccasion::queued;
}

// The flags say when a quiet sleep has passed since the last signal.
bool QuietSleepIsOver() {
    if (dirty == pending) {
        pending = 0; // if a signal came in during this sleep, wait for a quiet one
        return false;
    }
    if (pending == 0)
        return true;
    dirty = 1;
    return false;
}

// True when a signal has come that no run has answered yet.
bool IsAsked() {
    return dirty != 0;
}

} // namespace

int64_t (*main_loop_clock)() = MonotonicMilliseconds;

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
    if (!QuietSleepIsOver())
        return main_loop_clock() >= retry_at ? WakeUp::retry : WakeUp::wait;
    signal_count = 0;
    if (static_cast<double>(now - last_vacuum) / kSecondsPerHour > kVacuumHours)
        DatabasesVacuum();
    FlagsClear();
    return WakeUp::process;
}

void QueueRun() {
    RetryPlan(IndexQueueProcess(QueueOccasion::queued));
}

void QueueRetry() {
    RetryPlan(IndexQueueProcess(retry_occasion));
}

void MainLoop() {
    for (unsigned quiet = QuietSeconds();;) {
        sleep(quiet);
        FileReadersReap();
        if (signal_count > kSignalsForced) {
            signal_count = 0;
            DatabasesVacuum();
            FlagsClear();
            quiet = QuietSeconds();
            QueueRun();
        }
        switch (WakeUpHandle(time(nullptr))) {
        case WakeUp::process:
            quiet = QuietSeconds();
            QueueRun();
            break;
        case WakeUp::retry:
            QueueRetry();
            break;
        case WakeUp::wait:
            if (!IsAsked())
                OlderFilesProcess(IsAsked);
            break;
        }
    }
}
