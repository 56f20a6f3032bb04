// SPDX-License-Identifier: GPL-2.0-or-later
//
// Start-up of the media-indexing daemon.
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "catalogue/features.h"
#include "daemon/main_loop.h"
#include "daemon/pid_file.h"
#include "daemon/queue.h"
#include "daemon/queue_files.h"
#include "platform/handle.h"
#include "platform/own_group.h"
#include "platform/rule_set.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";
constexpr char kProgram[] = "veluindexd";

// Media servers and file sharing come first on a small machine.
constexpr int kNiceness = 10;

// Handler of SIGTERM. Only calls that are safe in a handler: the store's open batch is rolled back by the
// next start, and the working copy of the queue is still there for it.
[[noreturn]] void Die(int) {
    unlink(kPidFile);
    _exit(0);
}

// Holds up the daemon's signals until it is said what they do, or lets them come: a starter that blocks them passes that on.
// The pid file is there before the handlers: a signal in between would end the daemon and leave it, and to write it may bring
// SIGXFSZ itself.
void SignalsHold(int how) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGXFSZ);
    sigprocmask(how, &signals, nullptr);
}

// Gives the pid file, which is locked for as long as it stays open.
FdHandle BecomeDaemon() {
    if (daemon(0, 0) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to become a daemon.(%s)", kLogName, __LINE__, strerror(errno));
        exit(1);
    }
    FdHandle pid_file;
    const PidFileEnd end = PidFileTake(&pid_file);
    if (end != PidFileEnd::taken)
        exit(end == PidFileEnd::others ? 1 : 0);
    setpriority(PRIO_PROCESS, 0, kNiceness);
    return pid_file;
}

void HandlersInstall() {
    if (signal(SIGUSR1, SetDirty) == SIG_ERR) {
        syslog(LOG_ERR, "%s (%d) signal(SIGUSR1, SetDirty) failed.", kLogName, __LINE__);
        exit(1);
    }
    if (signal(SIGTERM, Die) == SIG_ERR) {
        syslog(LOG_ERR, "%s (%d) signal(SIGTERM, Die) failed.", kLogName, __LINE__);
        exit(1);
    }
    // A starter that ignores SIGCHLD passes that on, and the daemon could not learn how its children end.
    signal(SIGCHLD, SIG_DFL);
    // A file that would become larger than the starter allows is a failed write, not the daemon's end.
    signal(SIGXFSZ, SIG_IGN);
}

// Work that waited while no daemon ran, or that the last one could not finish.
void LeftOversProcess() {
    if (BlKLIBFileExist(kQueueWorkingCopy) || BlKLIBFileExist(kKeptFile))
        QueueRetry();
    if (BlKLIBFileExist(kQueueFile))
        QueueRun();
}

} // namespace

int main(int argc, char **argv) {
    umask(0);
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        KLIBCopyright(kProgram);
        return 0;
    }
    if (KLIBReadPidFile(kPidFile) >= 1) {
        printf("Daemon alive. No need to start\n");
        return 1;
    }
    openlog(kProgram, LOG_PID, LOG_DAEMON);
    SignalsHold(SIG_BLOCK);
    [[maybe_unused]] const FdHandle pid_file = BecomeDaemon();
    HandlersInstall();
    SignalsHold(SIG_UNBLOCK);
    RuleSetRead();
    OwnGroupTake();
    DatabasesVacuum();
    FeatureSwitchesRead();
    LeftOversProcess();
    MainLoop();
}
