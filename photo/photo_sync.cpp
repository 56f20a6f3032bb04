// SPDX-License-Identifier: GPL-2.0-or-later
//
// Brings the rows of the photo library in step with the disk.
#include "photo/photo_sync.h"

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <iterator>
#include <unordered_set>

#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "photo/directory_names.h"
#include "photo/flv_converter.h"
#include "photo/photo_index.h"
#include "photo/photo_rows.h"
#include "photo/sql_text.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr size_t kPathSize = 4096;
constexpr size_t kConditionRoom = 64; // beside the paths
constexpr int kMediaVideoTable = 1;

// Sub-directories that a level of the resync holds at a time; their directory is read again for the next.
// Few directories have more, and a tree of the greatest depth then holds some megabytes of names.
constexpr size_t kPortion = 256;

using Paths = std::vector<std::string>;
using PathSet = std::unordered_set<std::string>;

void PathsJoin(const PhotoPathList *list, PathSet *paths) {
    for (; list != nullptr; list = list->next)
        paths->insert(list->path);
}

// The paths of all rows directly in a directory, of pictures and of videos.
bool KnownPathsGet(const char *dir, PathSet *paths) {
    SqlName name;
    if (!SqlNameEscape(dir, &name, kLogName))
        return false;
    const char *pattern = name.pattern.c_str();
    const std::string condition =
        SqlFormat(name.pattern.size() * 2 + kConditionRoom, "path like '%s/%%' and path not like '%s/%%/%%'",
                  pattern, pattern);
    const PhotoRows photos(PhotoInfoDBOpen(kPhotoTableImage, "path", condition.c_str(), "path asc", 0));
    if (photos == nullptr) {
        syslog(LOG_ERR, "%s (%d) Error occurred, failed to get records.", kLogName, __LINE__);
        return false;
    }
    const MediaRows videos(MediaInfoDBOpen(kMediaVideoTable, "path", condition.c_str(), "path asc", 0));
    PathsJoin(PathList(PhotoPathDBGet(photos.get())).get(), paths);
    PathsJoin(PathList(PhotoPathDBGet(videos.get())).get(), paths);
    return true;
}

void NewPathAdd(const char *path) {
    if (IndexFileAdd(path, kIndexAdd) == 0)
        PhotoLibraryFileUpdate(path, kPhotoFileAdd);
    else
        FlvConverterRun(path);
}

struct Level {
    std::string path;
    dev_t device;
    ino_t inode;
    Paths names; // the portion of sub-directories
    size_t next; // of them
};

bool IsOwnAncestor(const std::vector<Level> &levels, const struct stat &status) {
    for (const Level &level : levels) {
        if (level.inode == status.st_ino && level.device == status.st_dev)
            return true;
    }
    return false;
}

bool PortionRead(Level *level) {
    const std::string last = level->names.empty() ? std::string() : level->names.back();
    level->next = 0;
    if (SubDirectoriesGet(level->path.c_str(), &level->names, last, kPortion))
        return true;
    syslog(LOG_ERR, "%s (%d) Failed to open directory %s", kLogName, __LINE__, level->path.c_str());
    return false;
}

// Refreshes a directory and makes it the innermost level. False when it cannot be read.
bool DirectoryEnter(std::vector<Level> *levels, const std::string &path) {
    struct stat status = {}; // of a path that is gone, which the listing finds out
    if (IsRecyclePath(path.c_str()))
        return true;
    if (stat(path.c_str(), &status) == 0 && IsOwnAncestor(*levels, status))
        return true;
    Level level = {path, status.st_dev, status.st_ino, {}, 0};
    if (!PortionRead(&level))
        return false;
    Paths entries;
    const auto has_dot = [](const std::string &name, const dirent &) {
        return name.find('.') != std::string::npos;
    };
    if (DirectoryNamesGet(path.c_str(), has_dot, &entries) && !entries.empty())
        PhotoDirRefresh(path.c_str(), &entries);
    levels->push_back(std::move(level));
    return true;
}

// Goes on to the next sub-directory of the innermost level, or leaves it.
void LevelAdvance(std::vector<Level> *levels) {
    Level &level = levels->back();
    if (level.next == level.names.size() && (level.names.size() < kPortion || !PortionRead(&level))) {
        levels->pop_back();
        return;
    }
    if (level.next == level.names.size()) { // the portion behind the last full one is empty
        levels->pop_back();
        return;
    }
    const std::string path = level.path + '/' + level.names[level.next++];
    if (path.size() < kPathSize)
        DirectoryEnter(levels, path);
}

int TreeResync(const std::string &path) {
    std::vector<Level> levels;
    if (!DirectoryEnter(&levels, path))
        return -1;
    while (!levels.empty())
        LevelAdvance(&levels);
    return 0;
}

int ShareResync() {
    char target[kPathSize] = "";
    if (readlink(kPhotoShareLink, target, sizeof target - 1) < 0) {
        syslog(LOG_ERR, "%s (%d) Failed to read link of %s", kLogName, __LINE__, kPhotoShareLink);
        return -1;
    }
    if (VELUPhotoInitAllRows() != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to set updated to 0 for all rows.", kLogName, __LINE__);
        return -1;
    }
    if (TreeResync(target) != 0)
        return -1;
    if (VELUPhotoDeleteNoUpdateRows() != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to delete none updated rows.", kLogName, __LINE__);
        return -1;
    }
    return 0;
}

} // namespace

int PhotoDirRefresh(const char *dir, const std::vector<std::string> *entries) {
    if (dir == nullptr || *dir == '\0' || entries == nullptr || entries->empty()) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    PathSet known;
    if (!KnownPathsGet(dir, &known))
        return -1;
    Paths new_paths;
    for (const std::string &entry : *entries) {
        char path[kPathSize];
        snprintf(path, sizeof path, "%s/%s", dir, entry.c_str());
        if (known.count(path) != 0)
            PhotoLibraryFileUpdate(path, kPhotoFileUpdate);
        else
            new_paths.emplace_back(path);
    }
    for (const std::string &path : new_paths)
        NewPathAdd(path.c_str());
    return 0;
}

int PhotoLibraryResync(const char *path) {
    return path == nullptr ? ShareResync() : TreeResync(path);
}
