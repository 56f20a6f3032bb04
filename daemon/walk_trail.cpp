// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_trail.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include "platform/limits.h"

namespace {

// True for a link back to an ancestor.
bool IsOwnAncestor(const WalkTrail &trail, const struct stat &status) {
    for (const WalkTrail::Step &step : trail.steps) {
        if (step.inode == status.st_ino && step.device == status.st_dev)
            return true;
    }
    return false;
}

// The kernel's own trees (/proc and the like) hold no media, but links to everywhere.
bool IsKernelTree(int directory) {
    struct statfs system;
    return fstatfs(directory, &system) == 0 &&
           (system.f_type == PROC_SUPER_MAGIC || system.f_type == SYSFS_MAGIC);
}

// True when the directory has been entered from below another link before, and such visits are used up: directories full
// of links to one another would otherwise be walked in every order there is.
bool IsLinkedTooOften(WalkTrail *trail, const struct stat &status, bool by_link) {
    if (!by_link || trail->steps.empty() || !trail->steps.back().linked)
        return false;
    if (trail->linked_from_links.insert({status.st_dev, status.st_ino}).second)
        return false;
    if (trail->entered_again == kWalkEnteredAgainMax)
        return true;
    ++trail->entered_again;
    return false;
}

} // namespace

TrailStep WalkTrailEnter(WalkTrail *trail, int directory, bool by_link) {
    struct stat status;
    if (fstat(directory, &status) != 0)
        return TrailStep::failed;
    if (IsOwnAncestor(*trail, status))
        return TrailStep::left_out;
    const bool other_device = trail->steps.empty() || trail->steps.back().device != status.st_dev;
    if ((other_device && IsKernelTree(directory)) || IsLinkedTooOften(trail, status, by_link))
        return TrailStep::left_out;
    const bool linked = by_link || (!trail->steps.empty() && trail->steps.back().linked);
    trail->steps.push_back({status.st_dev, status.st_ino, linked});
    return TrailStep::entered;
}

void WalkTrailLeave(WalkTrail *trail) {
    trail->steps.pop_back();
}
