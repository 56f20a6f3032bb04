// SPDX-License-Identifier: GPL-2.0-or-later
//
// proc(5): /proc/PID/stat has the name in brackets, which may hold anything, then the state and the parent.
#include "tools/veluctl/status/child_processes.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "platform/file.h"
#include "tools/queue/daemon_process.h"

size_t ChildProcesses(pid_t parent, std::string_view name) {
    size_t count = 0;
    const DirHandle processes(opendir("/proc"));
    while (const dirent *entry = processes != nullptr ? readdir(processes.get()) : nullptr) {
        const pid_t pid = static_cast<pid_t>(strtol(entry->d_name, nullptr, 10));
        const FdHandle file = pid > 0 ? OpenForReading(ProcPath(pid, "stat").c_str()) : FdHandle();
        char text[256]; // what is looked at stands in front
        const size_t length = file ? FileReadUpTo(file, 0, text, sizeof text - 1) : 0;
        text[length] = '\0';
        const char *begin = strchr(text, '(');
        const char *end = strrchr(text, ')');
        int its_parent = 0;
        if (begin != nullptr && end != nullptr && sscanf(end, ") %*c %d", &its_parent) == 1 &&
            its_parent == parent && std::string_view(begin + 1).starts_with(name))
            ++count;
    }
    return count;
}
