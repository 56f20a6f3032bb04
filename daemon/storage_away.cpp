// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/storage_away.h"

#include <sys/stat.h>

#include <algorithm>

#include "daemon/directory_reader.h"
#include "daemon/storage_mounts.h"
#include "platform/path.h"

namespace {

bool IsDirectory(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsMounted(const std::string &mount) {
    const StorageMounts now = StorageMountsRead();
    return std::ranges::find(now.mounted, mount) != now.mounted.end();
}

// True when a directory has something that the catalogue has too; without a catalogue, when it has anything.
bool HoldsKnown(const std::string &directory, const StorageKnows &knows) {
    static constexpr NameRules kNoRules;
    DirectoryReader reader = {.rules = &kNoRules};
    if (!DirectoryOpen(&reader, directory.c_str()))
        return false;
    while (const dirent *entry = DirectoryNext(&reader)) {
        if (knows == nullptr || knows(directory + '/' + entry->d_name, true) == 1)
            return true;
    }
    return false;
}

// Whether a place is away that the storage of `mount` belongs to, which is not mounted.
bool IsAway(const std::string &place, const std::string &mount, const StorageKnows &knows) {
    // What the catalogue does not know cannot be forgotten.
    if (knows != nullptr && knows(place, false) == 0)
        return false;
    if (!IsDirectory(place))
        return true;
    // Looking into a directory makes an automounter mount what belongs there.
    return !HoldsKnown(place, knows) && !IsMounted(mount);
}

// The outermost directory between a tree and a place in it that is not there; the place when all are.
std::string OutermostGone(const std::string &tree, const std::string &place) {
    for (size_t slash = place.find('/', tree.size() + 1); slash != std::string::npos;
         slash = place.find('/', slash + 1)) {
        if (!IsDirectory(place.substr(0, slash)))
            return place.substr(0, slash);
    }
    return place;
}

std::vector<std::string> AwayIn(const StorageMounts &mounts, const std::string &tree,
                                const StorageKnows &knows) {
    if (mounts.wanted.empty())
        return {};
    for (const std::string &mount : StorageAbove(mounts, tree)) {
        if (IsAway(tree, mount, knows))
            return {tree};
    }
    const std::string real = StoragePathOf(tree);
    std::vector<std::string> away;
    for (const std::string &mount : mounts.wanted) {
        if (!PathIsUnder(mount, real))
            continue;
        const std::string place = OutermostGone(tree, tree + mount.substr(real.size()));
        if (std::ranges::find(away, place) == away.end() && IsAway(place, mount, knows))
            away.push_back(place);
    }
    return away;
}

std::vector<std::string> ShareAwayIn(const StorageMounts &mounts, const std::string &target,
                                     const StorageKnows &knows) {
    return IsDirectory(target) ? AwayIn(mounts, target, knows) : std::vector<std::string>{target};
}

} // namespace

std::vector<std::string> StorageAwayIn(const std::string &tree, const StorageKnows &knows) {
    return AwayIn(StorageMountsRead(), tree, knows);
}

bool StorageIsAway(const std::string &path, const std::vector<std::string> &shares,
                   const StorageKnows &knows) {
    const StorageMounts mounts = StorageMountsRead();
    const auto meets = [&](const std::string &place) {
        return PathIsAtOrUnder(path, place) || PathIsUnder(place, path);
    };
    for (const std::string &share : shares) {
        if (PathIsUnder(path, share) && std::ranges::any_of(ShareAwayIn(mounts, share, knows), meets))
            return true;
    }
    if (mounts.wanted.empty())
        return false;
    const std::vector<std::string> above = StorageAbove(mounts, path);
    return std::ranges::any_of(above,
                               [&](const std::string &place) { return IsAway(place, place, knows); }) ||
           !AwayIn(mounts, path, knows).empty();
}

std::vector<std::string> ShareAwayIn(const std::string &target, const StorageKnows &knows) {
    return ShareAwayIn(StorageMountsRead(), target, knows);
}
