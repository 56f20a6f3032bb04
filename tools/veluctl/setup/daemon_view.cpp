// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/daemon_view.h"

#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "platform/file.h"
#include "tools/queue/daemon_process.h"

namespace {

// Capabilities by which rights of files do not count for reading: CAP_DAC_OVERRIDE and CAP_DAC_READ_SEARCH.
constexpr uint64_t kReadsAll = 1U << 1 | 1U << 2;

// By whose rights somebody opens files.
struct Rights {
    uid_t user = geteuid();
    gid_t group = getegid();
    std::vector<gid_t> groups = {};
    bool reads_all = true;
};

// Takes the second of the numbers behind a field's name, which is the effective one.
template <typename Number>
void EffectiveTake(std::istringstream *fields, Number *number) {
    Number real = 0;
    if (Number effective = 0; *fields >> real >> effective)
        *number = effective;
}

Rights RightsOf(pid_t daemon) {
    Rights rights;
    std::ifstream status(ProcPath(daemon, "status"));
    for (std::string line; std::getline(status, line);) {
        std::istringstream fields(line);
        std::string name;
        fields >> name;
        if (name == "Uid:")
            EffectiveTake(&fields, &rights.user);
        else if (name == "Gid:")
            EffectiveTake(&fields, &rights.group);
        else if (name == "Groups:")
            for (gid_t group = 0; fields >> group;)
                rights.groups.push_back(group);
        else if (name == "CapEff:")
            if (uint64_t set = 0; fields >> std::hex >> set)
                rights.reads_all = (set & kReadsAll) != 0;
    }
    return rights;
}

Rights RightsNow() {
    const pid_t daemon = DaemonFind();
    return daemon != 0 ? RightsOf(daemon) : Rights();
}

int OpenError(const char *path) {
    const FdHandle directory = OpenForReading(path, O_DIRECTORY);
    return !directory || faccessat(AT_FDCWD, path, X_OK, AT_EACCESS) != 0 ? errno : 0;
}

// The same in a process that has become that user.
int OpenErrorAs(const Rights &rights, const char *path) {
    const pid_t child = fork();
    if (child < 0)
        return errno;
    if (child == 0) {
        // Root has capabilities of its own, which the daemon's root may lack.
        __user_cap_header_struct head = {_LINUX_CAPABILITY_VERSION_3, 0};
        const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
        const bool changed = setgroups(rights.groups.size(), rights.groups.data()) == 0 &&
                             setresgid(rights.group, rights.group, rights.group) == 0 &&
                             setresuid(rights.user, rights.user, rights.user) == 0 &&
                             syscall(SYS_capset, &head, none) == 0;
        _exit(changed ? OpenError(path) : errno);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
        continue;
    return WIFEXITED(status) ? WEXITSTATUS(status) : EIO;
}

} // namespace

bool IsHiddenFromDaemon(const std::string &path) {
    const pid_t daemon = DaemonFind();
    struct stat own;
    struct stat other;
    const std::string root = daemon != 0 ? ProcPath(daemon, "root") : std::string();
    if (daemon == 0 || stat(root.c_str(), &other) != 0)
        return false;
    if (lstat((root + path).c_str(), &other) != 0)
        return errno == ENOENT;
    return S_ISDIR(other.st_mode) && lstat(path.c_str(), &own) == 0 &&
           (own.st_dev != other.st_dev || own.st_ino != other.st_ino);
}

int DaemonDirectoryError(const std::string &path) {
    const Rights rights = RightsNow();
    return rights.reads_all || geteuid() != 0 ? OpenError(path.c_str()) : OpenErrorAs(rights, path.c_str());
}

std::string DaemonUserName() {
    const uid_t user = RightsNow().user;
    const passwd *entry = getpwuid(user);
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}
