// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/queue/daemon_process.h"

#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <string_view>

#include "platform/file.h"
#include "platform/velusdk.h"

namespace {

// As /proc/PID/comm has them.
constexpr std::string_view kDaemonName = "veluindexd\n";
constexpr std::string_view kWatcherName = "veluwatchd\n";

// The C library's header of these declares them as C++ functions in some versions, and lacks them in others.
int PidfdOpen(pid_t pid) {
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

int PidfdSignal(int process, int number) {
    return static_cast<int>(syscall(SYS_pidfd_send_signal, process, number, nullptr, 0));
}

bool HasName(pid_t pid, std::string_view wanted) {
    const FdHandle file = OpenForReading(ProcPath(pid, "comm").c_str());
    char name[32];
    const ssize_t length = file ? FileReadSome(file, name, sizeof name) : -1;
    return length > 0 && std::string_view(name, static_cast<size_t>(length)) == wanted;
}

pid_t ProcessFind(const char *pid_file, std::string_view name) {
    const pid_t pid = KLIBReadPidFile(pid_file);
    return pid >= 1 && HasName(pid, name) ? pid : 0;
}

// True when some process has the daemon's name.
bool IsAnyDaemon() {
    const DirHandle processes(opendir("/proc"));
    bool unseen = false;
    while (const dirent *entry = DirectoryNext(processes, &unseen)) {
        const auto pid = static_cast<pid_t>(strtol(entry->d_name, nullptr, 10));
        if (pid > 0 && HasName(pid, kDaemonName))
            return true;
    }
    return false;
}

} // namespace

std::string ProcPath(pid_t pid, const char *name) {
    return "/proc/" + std::to_string(pid) + '/' + name;
}

pid_t DaemonFind() {
    return ProcessFind(kDaemonPidFile, kDaemonName);
}

void DaemonAwait() {
    constexpr timespec kPause = {0, 20'000'000};
    constexpr int kLooks = 150; // three seconds
    for (int looks = 0; looks < kLooks && DaemonFind() == 0 && IsAnyDaemon(); ++looks)
        nanosleep(&kPause, nullptr);
}

pid_t WatcherFind() {
    return ProcessFind(kWatcherPidFile, kWatcherName);
}

int DaemonWake() {
    const pid_t pid = KLIBReadPidFile(kDaemonPidFile);
    if (pid < 1)
        return ESRCH;
    // Held by its handle the process cannot be replaced by another of the same number between the look and
    // the signal.
    const FdHandle process(PidfdOpen(pid));
    if (!process && errno != ENOSYS)
        return errno;
    if (!HasName(pid, kDaemonName))
        return ESRCH;
    const int result = process ? PidfdSignal(process.get(), SIGUSR1) : kill(pid, SIGUSR1);
    return result == 0 ? 0 : errno;
}
