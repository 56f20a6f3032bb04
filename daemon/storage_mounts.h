// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is to be mounted on this machine, and what is. To be: what /etc/fstab has ("noauto" too), what an automounter waits
// for, and what the last good walk of a share had mounted.
#pragma once

#include <string>
#include <vector>

// Where that is read.
struct StorageFiles {
    const char *table = "/etc/fstab";
    const char *now = "/proc/self/mountinfo";
    const char *remembered = "/var/lib/velu/mounts"; // and written
};
extern StorageFiles storage_files;

// Mount points without slashes at their ends and without links in them; "/" is none.
struct StorageMounts {
    // A directory of a tree that a link leads to, which is written as the tree's paths are.
    struct Linked {
        std::string mount;
        std::string tree;
        std::string place;
    };
    std::vector<std::string> wanted; // without what is mounted
    std::vector<std::string> mounted;
    std::vector<Linked> linked; // on what is wanted
};

// Reads all that can be read.
StorageMounts StorageMountsRead();

// True when something is mounted at a path: what it shows is no mount point that waits.
[[nodiscard]] bool StorageIsMounted(const std::string &path);

// The path without links, as far as there is something.
std::string StoragePathOf(const std::string &path);

// The mount points that a path is at or below and that are wanted, unless another mount is in between.
std::vector<std::string> StorageAbove(const StorageMounts &mounts, const std::string &path);

// Remembers what is mounted at, above and inside a tree, of which a walk ended well: a line each in `remembered`, the mount
// point, a blank and the tree, with blanks, tabs, newlines and backslashes as in fstab; and what is mounted where `links` of
// the tree lead, with another blank and the link. What was remembered of places in `kept` stays. The file is replaced as a
// whole when something has changed. False, with errno, when that failed.
[[nodiscard]] bool StorageRemember(const std::string &tree, const std::vector<std::string> &kept,
                                   const std::vector<std::string> &links = {});

// Forgets what was remembered at and below a path.
[[nodiscard]] bool StorageForget(const std::string &path);
