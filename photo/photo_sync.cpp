// SPDX-License-Identifier: GPL-2.0-or-later
//
// Brings the rows of the photo library in step with the disk.
#include "photo/photo_sync.h"

#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <unordered_set>

#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/tree_cursor.h"
#include "daemon/walk_rules.h"
#include "photo/directory_names.h"
#include "photo/flv_converter.h"
#include "photo/photo_index.h"
#include "photo/photo_rows.h"
#include "photo/sql_text.h"

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

void KnownPathUpdate(const char *path) {
    VELUIndexRunPause();
    PhotoLibraryFileUpdate(path, kIndexUpdate);
}

void NewPathAdd(const char *path) {
    VELUIndexRunPause();
    if (IndexFileAdd(path, kIndexAdd) == 0)
        PhotoLibraryFileUpdate(path, kIndexAdd);
    else
        FlvConverterRun(path);
}

// The photo library takes files by their extensions, so that a name without one needs no look.
bool HasDot(const char *name) {
    return strchr(name, '.') != nullptr;
}

int TreeResync(const char *path) {
    TreeCursor cursor = TreeBegin(
        path, {.rules = &ActiveWalkRules().library, .listed = HasDot, .untold = PhotoShareNeedsStat != 0});
    bool begun = false;
    int result = 0;
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done; event = TreeNext(&cursor)) {
        if (event == TreeEvent::listed) {
            begun = true;
            if (!cursor.names.empty())
                PhotoDirRefresh(cursor.path.c_str(), &cursor.names);
        }
        if (event != TreeEvent::left || !IsUnread(cursor.end))
            continue;
        if (!begun)
            result = -1;
        if (!begun || cursor.end != PlaceEnd::too_long)
            syslog(LOG_ERR, "%s (%d) Failed to open directory %s", kLogName, __LINE__, cursor.path.c_str());
    }
    return result;
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
            KnownPathUpdate(path);
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
