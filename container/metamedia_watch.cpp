// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/metamedia_watch.h"

#include "platform/clock.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/sdk/program.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <syslog.h>
#include <time.h>

namespace {

constexpr char kLogName[] = "metamedia.c";

constexpr int kProcLineSize = 512;

// Reads on to the first line that `scan` converts.
template <typename Scan>
bool LineFind(FILE *file, Scan scan) {
    char line[kProcLineSize];
    while (fgets(line, sizeof line, file) != nullptr) {
        if (scan(line) == 1)
            return true;
    }
    return false;
}

// The status of a child that has ended, as the watchdog's result.
int ExitStatus(pid_t pid, int status) {
    if (WIFSIGNALED(status)) {
        syslog(LOG_ERR, "%s:%d Process %d killed by signal %d", kLogName, __LINE__, pid, WTERMSIG(status));
        return -1;
    }
    if (!WIFEXITED(status)) {
        // Stopped under a tracer. Nobody else looks after it.
        ChildKill(pid);
        return -1;
    }
    return WEXITSTATUS(status);
}

} // namespace

void ChildKill(pid_t pid) {
    kill(pid, SIGKILL);
    ProgramWait(pid);
}

int ChildMemoryExceeded(pid_t pid, const char *memory_file) {
    const FileHandle memory(fopen(memory_file, "re"));
    if (memory == nullptr) {
        syslog(LOG_ERR, "%s:%d Cannot open /proc/meminfo", kLogName, __LINE__);
        return 0;
    }
    int total = 0;
    if (!LineFind(memory.get(), [&](const char *line) { return sscanf(line, "MemTotal:%d", &total); })) {
        syslog(LOG_ERR, "%s:%d Cannot get MemTotal value.", kLogName, __LINE__);
        return 0;
    }
    char path[sizeof "/proc//status" + 3 * sizeof pid];
    snprintf(path, sizeof path, "/proc/%d/status", pid);
    const FileHandle process(fopen(path, "re"));
    if (process == nullptr)
        return 0;
    int resident = 0;
    if (!LineFind(process.get(), [&](const char *line) { return sscanf(line, "VmRSS:%d", &resident); }))
        return 0;
    return static_cast<int>(total * kProbeMemoryShare) < resident ? 1 : 0;
}

int ChildProcessWatch(pid_t pid, const ChildWatch &watch) {
    if (pid < 1) {
        syslog(LOG_ERR, "%s:%d Bad parameters.", kLogName, __LINE__);
        return -1;
    }
    timespec interval = {};
    interval.tv_nsec = watch.interval_nsec;
    const int64_t least_end =
        MonotonicMilliseconds() + watch.interval_nsec * int64_t{kProbeLooksMax} / 1000000;
    unsigned count = 0;
    for (;;) {
        // A signal may cut the sleep short: the look then comes early, so that many signals make many looks of little time.
        nanosleep(&interval, nullptr);
        int status = 0;
        const pid_t ended = waitpid(pid, &status, WNOHANG);
        if (ended > 0)
            return ExitStatus(pid, status);
        // Reaped elsewhere (a parent that ignores SIGCHLD): the id may be another process's by now.
        if (ended < 0 && errno == ECHILD)
            return -1;
        if (count > kProbeLooksMax && MonotonicMilliseconds() >= least_end) {
            ChildKill(pid);
            syslog(LOG_ERR, "%s:%d Process %d exceeded max loop count: %d, sec: %d, nsec: %d.", kLogName,
                   __LINE__, pid, static_cast<int>(count), static_cast<int>(interval.tv_sec),
                   static_cast<int>(interval.tv_nsec));
            return -1;
        }
        ++count;
        if (ChildMemoryExceeded(pid, watch.memory_file)) {
            ChildKill(pid);
            syslog(LOG_ERR, "%s:%d Process %d exceeded max memory usage.", kLogName, __LINE__, pid);
            return -1;
        }
    }
}
