// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/queue_wait.h"

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "daemon/queue.h"
#include "daemon/quiet_interval.h"
#include "tools/queue/daemon_process.h"
#include "tools/veluctl/process_start.h"

namespace {

// True before the daemon's first sleep: it has been running for less than one takes, and is at work.
bool IsStarting(pid_t daemon, int64_t quiet) {
    return daemon != 0 && time(nullptr) - ProcessStart(daemon) <= quiet && ProcessIsAtWork(daemon);
}

} // namespace

QueueWait QueueWaitLook() {
    QueueWait wait;
    struct stat status;
    wait.there = stat(kQueueFile, &status) == 0;
    wait.after = access(kQueueWorkingCopy, F_OK) == 0;
    wait.age = wait.there ? std::max<int64_t>(time(nullptr) - status.st_mtime, 0) : 0;
    wait.quiet = QuietSeconds();
    wait.starting = IsStarting(DaemonFind(), wait.quiet);
    return wait;
}

std::optional<int64_t> QueueWaitSeconds(const QueueWait &wait) {
    if (wait.there && !wait.after && wait.starting)
        return 0;
    // A signal that comes while the daemon is awake costs it one more interval.
    if (!wait.there || wait.after || wait.age > 2 * wait.quiet)
        return std::nullopt;
    return std::max<int64_t>(wait.quiet - wait.age, 0);
}

std::string QueueWaitText(const QueueWait &wait) {
    if (wait.after)
        return "begins after the run that goes on";
    const std::optional<int64_t> seconds = QueueWaitSeconds(wait);
    if (!seconds)
        return "begins when the daemon is told of it";
    if (*seconds == 0)
        return "begins at any moment";
    return "begins in " + std::to_string(*seconds) + " s when nothing more comes";
}
