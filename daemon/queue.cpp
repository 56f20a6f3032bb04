// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "daemon/queue_kept.h"
#include "daemon/queue_older.h"
#include "daemon/queue_pass.h"
#include "daemon/queue_reader.h"
#include "daemon/queue_start.h"
#include "platform/file.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";

constexpr char kMusicServerPidFile[] = "/var/run/mt-daapd.pid";
constexpr char kDlnaServerPidFile[] = "/var/run/dms.pid";

// When a copy could not be done with, by the clock of kept requests; -1: none is in the way.
int64_t stuck_since = -1;

void QueueTakeOver() {
    for (int attempt = 0; attempt < kQueueTakeOversMax; ++attempt) {
        if (rename(kQueueFile, kQueueWorkingCopy) == 0) {
            // A queue that came back after a power cut would pass for one that nobody has worked on.
            static_cast<void>(FolderSync(kSpoolFolder));
            return;
        }
        syslog(LOG_ERR, "%s(%d): Failed to rename %s. (%s)", kLogName, __LINE__, kQueueFile, strerror(errno));
    }
}

void ServerSignal(const char *pid_file, int signal_number) {
    const pid_t pid = KLIBReadPidFile(pid_file);
    if (pid >= 1)
        kill(pid, signal_number);
}

void ServersTell() {
    if (BlVELUIndexIsMusicTableDirty() || BlVELUIndexIsVideoTableDirty())
        ServerSignal(kMusicServerPidFile, SIGHUP);
    ServerSignal(kDlnaServerPidFile, SIGUSR1);
}

// Opens the working copy. One that cannot be opened is removed.
bool WorkingCopyOpen(QueueReader *reader) {
    if (reader->Open(kQueueWorkingCopy))
        return true;
    const int reason = errno;
    // A damaged copy must not block the queue for ever. The command is the appliance's documented way out.
    if (system("rm -rf /var/spool/velu_indexing_queue.tmp") != 0)
        syslog(LOG_ERR, "%s(%d): Failed to remove %s.", kLogName, __LINE__, kQueueWorkingCopy);
    syslog(LOG_ERR, "%s(%d): Failed to open %s. (%s)", kLogName, __LINE__, kQueueWorkingCopy,
           strerror(reason));
    return false;
}

// A copy that came back after a power cut would be done again behind requests that are newer.
bool WorkingCopyRemove() {
    if (unlink(kQueueWorkingCopy) == 0) {
        static_cast<void>(FolderSync(kSpoolFolder)); // best effort: the copy is done with
        return true;
    }
    syslog(LOG_ERR, "%s(%d): Failed to unlink %s. (%s)", kLogName, __LINE__, kQueueWorkingCopy,
           strerror(errno));
    return false;
}

// True when a copy that can neither be done with nor kept elsewhere has been in the way of the queue for too long.
bool WorkingCopyGivenUp() {
    const int64_t now = kept_clock();
    if (stuck_since < 0)
        stuck_since = now;
    if (now - stuck_since < kQueueKeptMillisecondsMax)
        return false;
    syslog(LOG_ERR, "%s(%d): Failed to store all rows for %d days. %s is given up.", kLogName, __LINE__,
           kQueueKeptDaysMax, kQueueWorkingCopy);
    return true;
}

// Does what a writer that had the copy open all the time has appended since the last look at it.
void LateLinesDo(QueueReader *copy, QueuePassEnd *end) {
    if (copy->Size() <= copy->offset())
        return;
    const bool kept = QueueLateLinesKeep(copy);
    const QueuePassEnd late = QueuePass(kept ? nullptr : copy, false);
    end->carried_out = end->carried_out || late.carried_out;
    end->waits_newly = late.waits;
    end->waits = late.waits;
}

// Writes down when the run ended. Only people look at that, so that a failure is not worth a line.
void EndRecord() {
    const FdHandle file(open(kLastRunFile, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (file)
        futimens(file.get(), nullptr);
}

} // namespace

QueueLeft IndexQueueProcess(QueueOccasion occasion) {
    VELUIndexMusicTableDirtySet(0);
    VELUIndexVideoTableDirtySet(0);
    const bool left_over = BlKLIBFileExist(kQueueWorkingCopy) != 0;
    const bool queued = occasion == QueueOccasion::queued;
    const bool complete = RuleSetActive() == RuleSet::complete;
    if (queued && !left_over)
        QueueTakeOver();
    if (complete && !left_over)
        MachineStartNote();

    QueueReader reader;
    QueueReader *copy = (queued || left_over) && WorkingCopyOpen(&reader) ? &reader : nullptr;
    QueuePassEnd end = QueuePass(copy, left_over);
    const bool was_stuck = stuck_since >= 0;
    if (complete && copy != nullptr && !end.copy_done)
        MachineStartForget(); // the disk may have failed
    if (copy != nullptr && !end.copy_done)
        end.copy_done = WorkingCopyGivenUp();
    if (end.copy_done)
        stuck_since = -1;
    if (copy != nullptr && end.copy_done && WorkingCopyRemove())
        LateLinesDo(copy, &end);
    if (copy != nullptr || end.carried_out) {
        EndRecord();
        ServersTell();
    }
    // Signals for what was queued while a copy was in the way have been used up.
    return {end.waits, end.waits_newly, was_stuck && end.copy_done && BlKLIBFileExist(kQueueFile)};
}

void OlderFilesProcess(bool (*stop)()) {
    VELUIndexMusicTableDirtySet(0);
    VELUIndexVideoTableDirtySet(0);
    if (OlderFilesRead(stop) > 0)
        ServersTell();
}
