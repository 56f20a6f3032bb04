// SPDX-License-Identifier: GPL-2.0-or-later
//
// Walking the shares as the daemon does, in search of what it would index and has not.
#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/walk_rules.h"
#include "daemon/walk_trail.h"
#include "photo/photo_index.h"
#include "platform/handle.h"
#include "platform/media_record.h"
#include "platform/path.h"
#include "tools/veluctl/check.h"

namespace {

// A directory of the walk with what lies below it and is still to be walked. Names are read at once, so that
// the depth of a tree costs no descriptors.
struct Level {
    std::string path;
    std::vector<std::pair<std::string, bool>> below; // and whether a link leads there
};

struct Check {
    std::vector<CheckedRow> *rows;
    std::vector<Finding> *findings;
    std::vector<Level> levels;
    WalkTrail trail;
    std::string added; // the tree without a row that an earlier finding has indexed whole
};

// Whether the tree that is indexed whole by an earlier finding holds a path.
bool IsAdded(const Check &check, const std::string &path) {
    return !check.added.empty() && PathIsUnder(path, check.added);
}

void Find(Check *check, const char *problem, const std::string &path, std::string line) {
    check->findings->push_back({problem, path, std::move(line), {}});
}

// 0, or the error number of opening it or reading its first byte.
int ReadError(const std::string &path) {
    const FdHandle file = OpenForReading(path.c_str());
    char byte = 0;
    return !file || pread(file.get(), &byte, 1, 0) < 0 ? errno : 0;
}

void FileCheck(Check *check, const std::string &path, off_t size) {
    CheckedRow *row = CheckedRowFind(check->rows, path);
    if (row != nullptr)
        row->seen = true;
    if (path.size() >= kMediaPathSize || !IsIndexedPath(path.c_str()))
        return;
    if (ReadError(path) != 0)
        Find(check, kUnreadable, path, {});
    const bool catalogued =
        row != nullptr && row->media && (row->library || !IsLibraryPicture(path.c_str(), size));
    if (!catalogued)
        Find(check, kFileWithoutRow, path,
             IsAdded(*check, path) ? RepairLine(kCommandTreeAdd, check->added)
                                   : RepairLine(kCommandFileAdd, path));
}

void DirectoryCheck(Check *check, const std::string &path) {
    CheckedRow *row = CheckedRowFind(check->rows, path);
    if (row != nullptr)
        row->seen = true;
    if (row != nullptr && row->directory)
        return;
    if (!IsAdded(*check, path))
        check->added = path;
    Find(check, kFileWithoutRow, path, RepairLine(kCommandTreeAdd, check->added));
}

void DirectoryEnter(Check *check, const std::string &path, bool by_link) {
    if (IsRecyclePath(path.c_str()) != 0)
        return;
    const DirHandle directory(opendir(path.c_str()));
    if (directory == nullptr) {
        Find(check, kUnreadable, path, {});
        return;
    }
    if (!WalkTrailEnter(&check->trail, dirfd(directory.get()), by_link))
        return;
    DirectoryCheck(check, path);
    Level level = {path, {}};
    while (const dirent *entry = readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == ".." || IsNameLeftOut(ActiveWalkRules().index, name))
            continue;
        const std::string below = path + '/' + entry->d_name;
        struct stat status;
        if (fstatat(dirfd(directory.get()), entry->d_name, &status, 0) != 0)
            continue; // a link that leads nowhere, or gone meanwhile
        if (S_ISDIR(status.st_mode)) {
            struct stat itself;
            const bool link =
                fstatat(dirfd(directory.get()), entry->d_name, &itself, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISLNK(itself.st_mode);
            level.below.emplace_back(entry->d_name, link);
        } else if (S_ISREG(status.st_mode)) {
            FileCheck(check, below, status.st_size);
        }
    }
    check->levels.push_back(std::move(level));
}

void ShareCheck(Check *check, const std::string &share) {
    if (access(share.c_str(), F_OK) != 0) {
        Find(check, kShareAway, share, {});
        return;
    }
    check->added.clear();
    DirectoryEnter(check, share, false);
    while (!check->levels.empty()) {
        Level &level = check->levels.back();
        if (level.below.empty()) {
            check->levels.pop_back();
            WalkTrailLeave(&check->trail);
            continue;
        }
        const auto [name, by_link] = std::move(level.below.back());
        level.below.pop_back();
        DirectoryEnter(check, level.path + '/' + name, by_link);
    }
}

} // namespace

void SharesCheck(std::vector<CheckedRow> *rows, std::vector<Finding> *findings) {
    for (const char *link : kShareLinks) {
        char target[kSharePathSize];
        if (!ShareTargetGet(link, target))
            continue; // a machine without that share
        Check check = {rows, findings, {}, {}, {}};
        ShareCheck(&check, target);
    }
}
