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

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "daemon/queue_reader.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";

constexpr char kMusicServerPidFile[] = "/var/run/mt-daapd.pid";
constexpr char kDlnaServerPidFile[] = "/var/run/dms.pid";

int kept_runs = 0; // in a row

void QueueTakeOver() {
    if (BlKLIBFileExist(kQueueWorkingCopy))
        return;
    for (int attempt = 0; attempt < kQueueTakeOversMax; ++attempt) {
        if (rename(kQueueFile, kQueueWorkingCopy) == 0)
            return;
        syslog(LOG_ERR, "%s(%d): Failed to rename %s. (%s)", kLogName, __LINE__, kQueueFile, strerror(errno));
    }
}

void LineExecute(std::string_view given) {
    std::string line(given);
    if (line.back() == '\n')
        line.pop_back();
    else
        syslog(LOG_ERR, "%s (%d) Warning! No new line here.", kLogName, __LINE__);
    QueueRequest request;
    if (!QueueLineParse(line, request)) {
        syslog(LOG_ERR, "%s (%d) Bad format [%s].", kLogName, __LINE__, line.c_str());
        return;
    }
    QueueRequestExecute(request);
}

// False when the line was not carried out to its end for want of memory.
bool LineTry(std::string_view line) {
    try {
        LineExecute(line);
        return true;
    } catch (const std::bad_alloc &) {
        syslog(LOG_ERR, "%s (%d) Out of memory.", kLogName, __LINE__);
        return false;
    }
}

void ServerSignal(const char *pid_file, int signal_number) {
    const pid_t pid = KLIBReadPidFile(pid_file);
    if (pid >= 1)
        kill(pid, signal_number);
}

// Carries out every line and brings its rows to disk. A line that was appended meanwhile by a writer that still
// has the file open is found by looking again after that. False when not all of them could be read and stored.
bool LinesExecute(QueueReader &reader) {
    std::string_view line;
    bool stored = true;
    bool more = reader.Next(&line);
    do {
        VELUIndexRunBegin();
        for (; more; more = reader.Next(&line))
            stored = LineTry(line) && stored;
        stored = VELUIndexRunEnd() == 0 && stored;
        more = reader.Next(&line);
    } while (more);
    if (reader.failure() == 0)
        return stored;
    syslog(LOG_ERR, "%s(%d): Failed to read %s. (%s)", kLogName, __LINE__, kQueueWorkingCopy,
           strerror(reader.failure()));
    return false;
}

void ServersTell() {
    if (BlVELUIndexIsMusicTableDirty() || BlVELUIndexIsVideoTableDirty())
        ServerSignal(kMusicServerPidFile, SIGHUP);
    ServerSignal(kDlnaServerPidFile, SIGUSR1);
}

void WorkingCopyRemove() {
    if (unlink(kQueueWorkingCopy) != 0)
        syslog(LOG_ERR, "%s(%d): Failed to unlink %s. (%s)", kLogName, __LINE__, kQueueWorkingCopy,
               strerror(errno));
}

// Keeps the copy, or gives it up when that has been done too often. Returns when to come back.
int WorkingCopyKeep() {
    if (++kept_runs < kQueueKeptRunsMax) {
        syslog(LOG_ERR, "%s(%d): Failed to store all rows. %s is kept for the next run.", kLogName, __LINE__,
               kQueueWorkingCopy);
        constexpr int kLargestShift = 6;
        return std::min(1 << std::min(kept_runs - 1, kLargestShift), kQueueRetryWakeUpsMax);
    }
    syslog(LOG_ERR, "%s(%d): Failed to store all rows %d times. %s is given up.", kLogName, __LINE__,
           kQueueKeptRunsMax, kQueueWorkingCopy);
    WorkingCopyRemove();
    return 0;
}

// Writes down when the run ended. Only people look at that, so that a failure is not worth a line.
void EndRecord() {
    const FdHandle file(open(kLastRunFile, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (file)
        futimens(file.get(), nullptr);
}

} // namespace

int IndexQueueProcess() {
    VELUIndexMusicTableDirtySet(0);
    VELUIndexVideoTableDirtySet(0);
    QueueTakeOver();

    QueueReader reader;
    if (!reader.Open(kQueueWorkingCopy)) {
        const int reason = errno;
        // A damaged copy must not block the queue for ever. The command is the appliance's documented way out.
        if (system("rm -rf /var/spool/velu_indexing_queue.tmp") != 0)
            syslog(LOG_ERR, "%s(%d): Failed to remove %s.", kLogName, __LINE__, kQueueWorkingCopy);
        syslog(LOG_ERR, "%s(%d): Failed to open %s. (%s)", kLogName, __LINE__, kQueueWorkingCopy,
               strerror(reason));
        return 0;
    }
    int come_back = 0;
    if (!LinesExecute(reader)) {
        come_back = WorkingCopyKeep();
    } else {
        WorkingCopyRemove();
    }
    EndRecord();
    ServersTell();
    if (come_back == 0 && kept_runs > 0) {
        kept_runs = 0;
        // Signals for what was queued meanwhile have been used up.
        come_back = BlKLIBFileExist(kQueueFile);
    }
    return come_back;
}
