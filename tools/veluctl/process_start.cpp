// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/process_start.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "platform/handle.h"
#include "tools/queue/daemon_process.h"

namespace {

// proc(5): the second field of /proc/PID/stat is the name in brackets, which may hold anything; field 22 is
// the start in clock ticks since the machine's.
constexpr int kFieldsFromNameToStart = 20;

} // namespace

time_t ProcessStart(pid_t pid) {
    const FileHandle file(fopen(ProcPath(pid, "stat").c_str(), "re"));
    char text[1024]; // room for fifty numbers and a name of 15 bytes
    const size_t length = file != nullptr ? fread(text, 1, sizeof text - 1, file.get()) : 0;
    text[length] = '\0';
    const char *field = strrchr(text, ')');
    for (int at = 0; field != nullptr && at < kFieldsFromNameToStart; ++at)
        field = strchr(field + 1, ' ');
    // The machine's start by its clocks. The times of the files in /proc do not tell when a process began.
    timespec uptime = {};
    timespec now = {};
    if (field == nullptr || clock_gettime(CLOCK_BOOTTIME, &uptime) != 0 ||
        clock_gettime(CLOCK_REALTIME, &now) != 0)
        return 0;
    const long long ticks = strtoll(field, nullptr, 10);
    return static_cast<time_t>(now.tv_sec - uptime.tv_sec + ticks / sysconf(_SC_CLK_TCK));
}
