// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/check_readers.h"

#include <linux/capability.h>
#include <pwd.h>
#include <stdint.h>
#include <stdlib.h>

#include "platform/handle.h"
#include "platform/rule_set.h"
#include "reader/protocol/message.h"
#include "tools/queue/daemon_process.h"

namespace {

// A number of /proc/PID/status, the first where there are several; 0 without it.
uint64_t Field(const std::string &status, const std::string &name, int base) {
    const size_t place = ("\n" + status).find("\n" + name + ":");
    return place != std::string::npos ? strtoull(status.c_str() + place + name.size() + 1, nullptr, base) : 0;
}

std::string StatusOf(pid_t process) {
    const FileHandle file(fopen(ProcPath(process, "status").c_str(), "re"));
    std::string text;
    char line[256];
    while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr)
        text += line;
    return text;
}

} // namespace

std::string ReadersRemark(const std::string &process_status, bool has_user) {
    constexpr uint64_t kNeeded = uint64_t{1} << CAP_SETUID | uint64_t{1} << CAP_SETGID;
    constexpr char kAlone[] = "; the system call filter alone keeps them from its files";
    if (Field(process_status, "Uid", 10) != 0)
        return std::string("the daemon is not root: its readers of media files have no user of their own") +
               kAlone;
    if ((Field(process_status, "CapEff", 16) & kNeeded) != kNeeded)
        return std::string("the daemon's service may not change users: its readers of media files are root, "
                           "without root's "
                           "capabilities") +
               kAlone;
    if (!has_user)
        return std::string("there is no user ") + kReaderUser +
               ": the readers of media files are nobody, as other programs may be";
    return {};
}

std::string ReadersRemarkNow() {
    const pid_t daemon = DaemonFind();
    const std::string status =
        daemon != 0 && RuleSetConfigured() == RuleSet::complete ? StatusOf(daemon) : std::string();
    return !status.empty() ? ReadersRemark(status, getpwnam(kReaderUser) != nullptr) : std::string();
}
