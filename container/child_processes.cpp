// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/child_processes.h"

#include "platform/handle.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>

namespace {

// Room for the begin of /proc/PID/stat: number, name of at most 64 bytes in brackets, state, parent.
constexpr size_t kStatSize = 128;

// The number that a name of /proc is; 0 for any other.
pid_t ProcessOf(const char *name) {
    pid_t process = 0;
    const char *end = name + strlen(name);
    return std::from_chars(name, end, process).ptr == end ? process : 0;
}

// The parent of a process; 0 when that cannot be told.
pid_t ParentOf(pid_t process) {
    char path[sizeof "/proc//stat" + 3 * sizeof process];
    snprintf(path, sizeof path, "/proc/%d/stat", process);
    const FileHandle file(fopen(path, "re"));
    char stat[kStatSize] = {};
    if (file == nullptr || fread(stat, 1, sizeof stat - 1, file.get()) == 0)
        return 0;
    // The name may hold any bytes, brackets and newlines too.
    const char *name_end = strrchr(stat, ')');
    pid_t parent = 0;
    return name_end != nullptr && sscanf(name_end, ") %*c %d", &parent) == 1 ? parent : 0;
}

// False when there was none that could be killed.
bool ChildrenKill() {
    const DirHandle processes(opendir("/proc"));
    if (processes == nullptr)
        return false;
    bool killed = false;
    while (const dirent *entry = readdir(processes.get())) {
        const pid_t process = ProcessOf(entry->d_name);
        if (process > 0 && ParentOf(process) == getpid() && kill(process, SIGKILL) == 0)
            killed = true;
    }
    return killed;
}

} // namespace

void ChildProcessesEnd() {
    for (;;) {
        const pid_t ended = waitpid(-1, nullptr, WNOHANG);
        if (ended < 0 && errno != EINTR)
            return;
        if (ended == 0 && (!ChildrenKill() || waitpid(-1, nullptr, 0) < 0))
            return;
    }
}
