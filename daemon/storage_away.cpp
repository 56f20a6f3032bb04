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

bool IsWanted(const std::string &mount, const std::string &place) {
    const std::vector<std::string> above = StorageAbove(StorageMountsRead(), place);
    return std::ranges::find(above, mount) != above.end();
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
    return !HoldsKnown(place, knows) && IsWanted(mount, place);
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
    const auto add = [&](const std::string &place, const std::string &mount) {
        if (std::ranges::find(away, place) == away.end() && IsAway(place, mount, knows))
            away.push_back(place);
    };
    for (const std::string &mount : mounts.wanted) {
        if (PathIsUnder(mount, real))
            add(OutermostGone(tree, tree + mount.substr(real.size())), mount);
    }
    for (const StorageMounts::Linked &linked : mounts.linked) {
        // A link that is gone itself was removed.
        const std::string place = OutermostGone(tree, linked.place);
        if (struct stat status; linked.tree == tree && lstat(place.c_str(), &status) == 0)
            add(place, linked.mount);
    }
    return away;
}

std::vector<std::string> ShareAwayIn(const StorageMounts &mounts, const std::string &target,
                                     const StorageKnows &knows) {
    return IsDirectory(target) ? AwayIn(mounts, target, knows) : std::vector<std::string>{target};
}

// True when one of the places that are away in the shares that a path lies in is such as `is` says.
template <typename Is>
bool HasAway(const StorageMounts &mounts, const std::string &path, const std::vector<std::string> &shares,
             const StorageKnows &knows, Is is) {
    return std::ranges::any_of(shares, [&](const std::string &share) {
        return PathIsUnder(path, share) && std::ranges::any_of(ShareAwayIn(mounts, share, knows), is);
    });
}

bool IsBelowAway(const StorageMounts &mounts, const std::string &path, const StorageKnows &knows) {
    return !mounts.wanted.empty() &&
           std::ranges::any_of(StorageAbove(mounts, path),
                               [&](const std::string &mount) { return IsAway(mount, mount, knows); });
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
    return HasAway(mounts, path, shares, knows, meets) || IsBelowAway(mounts, path, knows) ||
           !AwayIn(mounts, path, knows).empty();
}

bool StorageIsBelowAway(const std::string &path, const std::vector<std::string> &shares,
                        const StorageKnows &knows) {
    const StorageMounts mounts = StorageMountsRead();
    return HasAway(mounts, path, shares, knows,
                   [&](const std::string &place) { return PathIsAtOrUnder(path, place); }) ||
           IsBelowAway(mounts, path, knows);
}

std::vector<std::string> ShareAwayIn(const std::string &target, const StorageKnows &knows) {
    return ShareAwayIn(StorageMountsRead(), target, knows);
}
