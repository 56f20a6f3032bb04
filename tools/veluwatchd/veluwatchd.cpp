// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluwatchd: watches the shares and queues what has changed there.
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/signalfd.h>
#include <syslog.h>
#include <unistd.h>

#include <exception>

#include "platform/rule_set.h"
#include "tools/queue/daemon_process.h"
#include "tools/shared/safe_text.h"
#include "tools/veluwatchd/instance.h"
#include "tools/veluwatchd/watch_loop.h"

namespace {

enum ExitCode : int { kDone = 0, kFailed = 1, kUsage = 2 };

// A signal is read like an event, between two of them.
FdHandle SignalsOpen() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    if (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0)
        return {};
    return FdHandle(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

ExitCode Failed(const char *what, int error) {
    syslog(LOG_ERR, "%s: %s", what, strerror(error));
    return kFailed;
}

ExitCode Run(int argc, char **argv) {
    WatchOptions options;
    const ProgramLine asked = OptionsRead(argc, argv, &options);
    if (asked != ProgramLine::run)
        return asked == ProgramLine::done ? kDone : kUsage;
    RuleSetFollow();
    // A person at a terminal sees what the log gets.
    openlog("veluwatchd", isatty(STDERR_FILENO) != 0 ? LOG_PERROR : 0, LOG_DAEMON);
    bool broken_off = false;
    const FdHandle instance = InstanceBegin(&broken_off);
    if (!instance && errno == EWOULDBLOCK) {
        fputs("veluwatchd: another one runs already\n", stderr);
        return kFailed;
    }
    if (!instance)
        return Failed(kWatcherPidFile, errno);
    if (broken_off)
        syslog(LOG_WARNING, "the watcher before has broken off: all shares are indexed anew");
    const FdHandle signals = SignalsOpen();
    const int error = signals ? WatchLoop(options, broken_off, signals.get()) : errno;
    InstanceEnd();
    return error == 0 ? kDone : Failed("cannot watch", error);
}

} // namespace

int main(int argc, char **argv) {
    SafeTextPrepare();
    try {
        return Run(argc, argv);
    } catch (const std::exception &problem) {
        syslog(LOG_ERR, "ended: %s", problem.what()); // no memory; the next start indexes anew
        return kFailed;
    }
}
