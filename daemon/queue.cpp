// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "daemon/queue_reader.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";

constexpr char kMusicServerPidFile[] = "/var/run/mt-daapd.pid";
constexpr char kDlnaServerPidFile[] = "/var/run/dms.pid";

// A writer that creates the queue at this very moment is met by trying again at once.
constexpr int kRenameAttempts = 16;

void QueueTakeOver() {
    if (BlKLIBFileExist(kQueueWorkingCopy))
        return;
    for (int attempt = 0; attempt < kRenameAttempts; ++attempt) {
        if (rename(kQueueFile, kQueueWorkingCopy) == 0)
            return;
        syslog(LOG_ERR, "%s(%d): Failed to rename %s. (%s)", kLogName, __LINE__, kQueueFile, strerror(errno));
    }
}

void LineExecute(std::string &line) {
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

void ServerSignal(const char *pid_file, int signal_number) {
    const pid_t pid = KLIBReadPidFile(pid_file);
    if (pid >= 1)
        kill(pid, signal_number);
}

// Carries out every line and brings its rows to disk. A line that was appended meanwhile by a writer that
// still has the file open is found by looking again after that. False when rows could not be stored.
bool LinesExecute(QueueReader &reader) {
    std::string line;
    bool stored = true;
    bool more = reader.Next(line);
    do {
        VELUIndexRunBegin();
        for (; more; more = reader.Next(line))
            LineExecute(line);
        if (VELUIndexRunEnd() != 0)
            stored = false;
        more = reader.Next(line);
    } while (more);
    return stored;
}

} // namespace

void IndexQueueProcess() {
    VELUIndexMusicTableDirtySet(0);
    VELUIndexVideoTableDirtySet(0);
    QueueTakeOver();

    QueueReader reader;
    if (!reader.Open(kQueueWorkingCopy)) {
        const int reason = errno;
        // A damaged copy must not block the queue for ever. The command is the appliance's documented way
        // out.
        if (system("rm -rf /var/spool/velu_indexing_queue.tmp") != 0)
            syslog(LOG_ERR, "%s(%d): Failed to remove %s.", kLogName, __LINE__, kQueueWorkingCopy);
        syslog(LOG_ERR, "%s(%d): Failed to open %s. (%s)", kLogName, __LINE__, kQueueWorkingCopy,
               strerror(reason));
        return;
    }
    if (!LinesExecute(reader)) {
        syslog(LOG_ERR, "%s(%d): Failed to store all rows. %s is kept for the next run.", kLogName, __LINE__,
               kQueueWorkingCopy);
    } else if (unlink(kQueueWorkingCopy) != 0) {
        syslog(LOG_ERR, "%s(%d): Failed to unlink %s. (%s)", kLogName, __LINE__, kQueueWorkingCopy,
               strerror(errno));
    }
    if (BlVELUIndexIsMusicTableDirty() || BlVELUIndexIsVideoTableDirty())
        ServerSignal(kMusicServerPidFile, SIGHUP);
    ServerSignal(kDlnaServerPidFile, SIGUSR1);
}
