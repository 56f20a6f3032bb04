// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/own_group.h"

#include <grp.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/handle.h"
#include "platform/rule_set.h"

namespace {

// Where catalogues and covers are unless they are configured elsewhere; the unit makes it.
constexpr char kOwnFolder[] = "/var/lib/velu";

constexpr mode_t kModeBits = 07777;

struct {
    bool holds = false;
    gid_t id = 0;
} taken;

// Not getgrnam, which would load modules and ask the network.
bool GroupFind(const char *name, gid_t *id) {
    const FileHandle groups(fopen("/etc/group", "re"));
    while (const struct group *one = groups != nullptr ? fgetgrent(groups.get()) : nullptr) {
        if (strcmp(one->gr_name, name) == 0) {
            *id = one->gr_gid;
            return true;
        }
    }
    return false;
}

} // namespace

void OwnGroupTake() {
    gid_t id = 0;
    taken.holds = RuleSetActive() == RuleSet::complete && GroupFind(kOwnGroup, &id) && setegid(id) == 0;
    taken.id = id;
    OwnGroupGive(kOwnFolder);
}

bool OwnGroupHolds() {
    return taken.holds;
}

mode_t OwnFileMode() {
    return taken.holds ? 0640 : 0644;
}

mode_t OwnFolderMode() {
    return taken.holds ? 0750 : 0755;
}

void OwnGroupGive(const char *path) {
    struct stat status;
    if (!taken.holds || lstat(path, &status) != 0 || status.st_uid != geteuid())
        return;
    const bool folder = S_ISDIR(status.st_mode);
    if (!folder && !S_ISREG(status.st_mode))
        return;
    // Without the group the mode would take the file from everybody.
    const mode_t mode = folder ? OwnFolderMode() : OwnFileMode();
    if ((status.st_gid == taken.id || lchown(path, static_cast<uid_t>(-1), taken.id) == 0) &&
        (status.st_mode & kModeBits) != mode)
        static_cast<void>(chmod(path, mode) == 0);
}
