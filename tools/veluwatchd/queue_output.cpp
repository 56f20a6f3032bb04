// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/queue_output.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>

#include <utility>

#include "daemon/queue.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/queue_writer.h"
#include "tools/veluwatchd/bounds.h"

bool QueueOutputWrite(QueueOutput *output, const std::string &lines, WatchTime now) {
    output->waiting += lines;
    if (output->waiting.empty())
        return true;
    if (const int error = QueueAppend(kQueueFile, output->waiting, &output->file); error != 0) {
        output->retry = now + kQueueRetryPause;
        if (!std::exchange(output->failure_told, true))
            syslog(LOG_ERR, "cannot write %s: %s. It is tried again.", kQueueFile, strerror(error));
        return false;
    }
    if (std::exchange(output->failure_told, false))
        syslog(LOG_NOTICE, "%s is written again", kQueueFile);
    output->waiting.clear();
    output->waiting.shrink_to_fit();
    // A daemon that does not run finds the queue at its start.
    if (const int error = DaemonWake(); error != 0 && error != ESRCH)
        syslog(LOG_ERR, "cannot signal the daemon: %s", strerror(error));
    return true;
}

bool QueueOutputDone(const QueueOutput &output) {
    struct stat status;
    // The daemon does queues in their order: when the last one is done, all are.
    return output.file && output.waiting.empty() && fstat(output.file.get(), &status) == 0 &&
           status.st_nlink == 0;
}
