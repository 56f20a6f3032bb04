// SPDX-License-Identifier: GPL-2.0-or-later
//
// Brings the rows of the photo library in step with the disk.
#include "photo/photo_sync.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>

#include <unordered_set>

#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/walk_trail.h"
#include "photo/directory_names.h"
#include "photo/flv_converter.h"
#include "photo/photo_index.h"
#include "photo/photo_rows.h"
#include "photo/sql_text.h"
#include "platform/handle.h"
#include "platform/limits.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr size_t kPathSize = 4096;
constexpr size_t kConditionRoom = 64; // beside the paths

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
    const MediaRows videos(MediaInfoDBOpen(kMediaVideo, "path", condition.c_str(), "path asc", 0));
    PathsJoin(PathList(PhotoPathDBGet(photos.get())).get(), paths);
    PathsJoin(PathList(PhotoPathDBGet(videos.get())).get(), paths);
    return true;
}

void NewPathAdd(const char *path) {
    if (IndexFileAdd(path, kIndexAdd) == 0)
        PhotoLibraryFileUpdate(path, kIndexAdd);
    else
        FlvConverterRun(path);
}

struct Level {
    std::string path;
    Paths names;    // a portion of the sub-directories
    size_t next;    // of them
    size_t portion; // how many the next one holds at most
    bool more;      // whether there may be a next one
};

struct Resync {
    std::vector<Level> levels;
    WalkTrail trail; // a step for each level
};

bool Unreadable(const std::string &path, int line = __builtin_LINE()) {
    syslog(LOG_ERR, "%s (%d) Failed to open directory %s", kLogName, line, path.c_str());
    return false;
}

// False when there are no more sub-directories, or they cannot be read.
bool PortionRead(Level *level) {
    const std::string last = level->names.empty() ? std::string() : level->names.back();
    if (!SubDirectoriesGet(level->path.c_str(), ActiveWalkRules().library, &level->names, last,
                           level->portion))
        return Unreadable(level->path);
    level->next = 0;
    level->more = level->names.size() == level->portion;
    level->portion *= 2;
    return !level->names.empty();
}

bool IsLink(const std::string &path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool DirectoryRefresh(const std::string &path) {
    Paths entries;
    const auto has_dot = [](const std::string &name, const dirent &) {
        return name.find('.') != std::string::npos;
    };
    if (!DirectoryNamesGet(path.c_str(), has_dot, &entries))
        return Unreadable(path);
    if (!entries.empty())
        PhotoDirRefresh(path.c_str(), &entries);
    return true;
}

// Refreshes a directory and makes it the innermost level. False when it cannot be read.
bool DirectoryEnter(Resync *resync, const std::string &path, bool by_link) {
    if (IsRecyclePath(path.c_str()))
        return true;
    const FdHandle directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory)
        return Unreadable(path);
    if (!WalkTrailEnter(&resync->trail, directory.get(), by_link))
        return true;
    if (!DirectoryRefresh(path)) {
        WalkTrailLeave(&resync->trail);
        return false;
    }
    resync->levels.push_back({path, {}, 0, kResyncFirstPortion, true});
    return true;
}

// Goes on to the next sub-directory of the innermost level, or leaves it.
void LevelAdvance(Resync *resync) {
    Level &level = resync->levels.back();
    if (level.next == level.names.size() && !(level.more && PortionRead(&level))) {
        resync->levels.pop_back();
        WalkTrailLeave(&resync->trail);
        return;
    }
    const std::string path = level.path + '/' + level.names[level.next++];
    if (path.size() < kPathSize)
        DirectoryEnter(resync, path, IsLink(path));
}

int TreeResync(const std::string &path) {
    Resync resync;
    if (!DirectoryEnter(&resync, path, false))
        return -1;
    while (!resync.levels.empty())
        LevelAdvance(&resync);
    return 0;
}

int ShareResync() {
    char target[kSharePathSize];
    if (!ShareTargetGet(kPhotoShareLink, target)) {
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
            PhotoLibraryFileUpdate(path, kIndexUpdate);
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
