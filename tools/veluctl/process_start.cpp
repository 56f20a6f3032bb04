// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/process_start.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "platform/handle.h"
#include "tools/queue/daemon_process.h"

namespace {

// proc(5): the second field of /proc/PID/stat is the name in brackets, which may hold anything; field 22 is
// the start in clock ticks since the machine's.
constexpr int kFieldsFromNameToStart = 20;

// What /proc/PID/stat has behind the name, with the bracket.
std::string StatBehindName(pid_t pid) {
    const FileHandle file(fopen(ProcPath(pid, "stat").c_str(), "re"));
    char text[1024]; // room for fifty numbers and a name of 15 bytes
    const size_t length = file != nullptr ? fread(text, 1, sizeof text - 1, file.get()) : 0;
    text[length] = '\0';
    const char *end = strrchr(text, ')');
    return end != nullptr ? end : "";
}

// As the kernel has it (proc(5)), which is the same whenever it is asked; by the clocks it would waver by a second. 0: not known.
time_t MachineStart() {
    std::ifstream file("/proc/stat");
    long long start = 0;
    for (std::string line; std::getline(file, line);)
        if (sscanf(line.c_str(), "btime %lld", &start) == 1)
            break;
    return static_cast<time_t>(start);
}

} // namespace

time_t ProcessStart(pid_t pid) {
    const std::string stat = StatBehindName(pid);
    const char *field = stat.empty() ? nullptr : stat.c_str();
    for (int at = 0; field != nullptr && at < kFieldsFromNameToStart; ++at)
        field = strchr(field + 1, ' ');
    // The times of the files in /proc do not tell when a process began.
    const time_t machine = MachineStart();
    if (field == nullptr || machine == 0)
        return 0;
    return machine + static_cast<time_t>(strtoll(field, nullptr, 10) / sysconf(_SC_CLK_TCK));
}

bool ProcessIsAtWork(pid_t pid) {
    constexpr size_t kState = 2; // behind the bracket and a blank
    const std::string stat = StatBehindName(pid);
    if (stat.size() <= kState)
        return false;
    if (stat[kState] == 'R' || stat[kState] == 'D')
        return true;
    // The function of the kernel in which it waits, or a zero for who may not see that.
    std::string place;
    std::ifstream(ProcPath(pid, "wchan")) >> place;
    return stat[kState] == 'S' && !place.empty() && place != "0" &&
           place.find("nanosleep") == std::string::npos;
}
