// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walker.h"

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/walk_rules.h"
#include "daemon/walk_trail.h"
#include "photo/flv_converter.h"
#include "photo/photo_index.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "index.c";

// Paths are at most this long, terminator included; a longer one is cut.
constexpr size_t kPathSize = 4096;

struct Level {
    size_t path_length; // of the directory in the walker's path buffer
    off_t resume;       // where to read on once the directory is opened again
    DirHandle directory;
};

struct Walk {
    int mode;
    int mask;
    char path[kPathSize];
    std::vector<Level> levels;
    WalkTrail trail; // a step for each level
};

void FileVisit(const char *path, int mode, int mask) {
    int result = 0;
    if (mask & kWalkMedia)
        result = IndexFileAdd(path, mode);
    if ((mask & kWalkPhotoLibrary) && IsInPhotoLibrary(path)) {
        if (result == 0)
            PhotoLibraryFileUpdate(path, mode);
        else
            FlvConverterRun(path);
    }
}

// Opens the directory that the path buffer names and makes it the innermost level.
void DirectoryEnter(Walk &walk, bool by_link) {
    if (IsRecyclePath(walk.path))
        return;
    DirHandle directory(opendir(walk.path));
    if (directory == nullptr) {
        syslog(LOG_ERR, "%s (%d) Failed to open directory %s ", kLogName, __LINE__, walk.path);
        return;
    }
    if (!WalkTrailEnter(&walk.trail, dirfd(directory.get()), by_link))
        return;
    if (walk.mask & kWalkMedia)
        IndexFileAdd(walk.path, walk.mode);
    walk.levels.push_back({strlen(walk.path), 0, std::move(directory)});
}

void DirectoryLeave(Walk &walk) {
    walk.levels.pop_back();
    WalkTrailLeave(&walk.trail);
}

// Opens the innermost directory again where its reading stopped. False when the directory is no longer there.
bool DirectoryReopen(Walk &walk) {
    Level &level = walk.levels.back();
    const WalkTrail::Step &step = walk.trail.steps.back();
    DirHandle directory(opendir(walk.path));
    struct stat status;
    if (directory == nullptr || fstat(dirfd(directory.get()), &status) != 0 || status.st_dev != step.device ||
        status.st_ino != step.inode || lseek(dirfd(directory.get()), level.resume, SEEK_SET) < 0) {
        syslog(LOG_ERR, "%s (%d) Failed to open directory %s ", kLogName, __LINE__, walk.path);
        return false;
    }
    level.directory = std::move(directory);
    return true;
}

enum class EntryType { file, directory, linked_directory, other };

// What the entry in the path buffer is. The directory's own word is taken where it has one, which spares a
// look-up for each entry; not for links, and not for a path that was cut and so names something else.
EntryType EntryTypeGet(const Walk &walk, const dirent &entry, bool cut) {
    if (!cut && entry.d_type == DT_REG)
        return EntryType::file;
    if (!cut && entry.d_type == DT_DIR)
        return EntryType::directory;
    if (!cut && entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return EntryType::other;
    if (IsDirExist(walk.path)) {
        struct stat status;
        const bool link = lstat(walk.path, &status) == 0 && S_ISLNK(status.st_mode);
        return link ? EntryType::linked_directory : EntryType::directory;
    }
    return IsFileExist(walk.path, nullptr) ? EntryType::file : EntryType::other;
}

bool IsSkippedName(const char *name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0 || IsNameLeftOut(ActiveWalkRules().index, name);
}

// Visits entries of the innermost directory up to its end, where the level goes, or up to a subdirectory,
// which becomes the innermost level.
void LevelAdvance(Walk &walk) {
    const size_t depth = walk.levels.size();
    Level &level = walk.levels.back();
    walk.path[level.path_length] = '\0';
    if (level.directory == nullptr && !DirectoryReopen(walk)) {
        DirectoryLeave(walk);
        return;
    }
    while (const dirent *entry = readdir(level.directory.get())) {
        if (IsSkippedName(entry->d_name))
            continue;
        const size_t room = sizeof walk.path - level.path_length;
        const int wanted = snprintf(walk.path + level.path_length, room, "/%s", entry->d_name);
        const bool cut = wanted < 0 || static_cast<size_t>(wanted) >= room;
        const EntryType type = EntryTypeGet(walk, *entry, cut);
        switch (type) {
        case EntryType::file:
            FileVisit(walk.path, walk.mode, walk.mask);
            break;
        case EntryType::directory:
        case EntryType::linked_directory:
            if (depth >= kWalkOpenLevels) {
                level.resume = entry->d_off;
                level.directory.reset();
            }
            DirectoryEnter(walk, type == EntryType::linked_directory);
            return;
        case EntryType::other:
            break;
        }
        walk.path[level.path_length] = '\0';
    }
    DirectoryLeave(walk);
}

void TreeWalk(const char *path, int mode, int mask) {
    if (strlen(path) >= kPathSize) { // cut, it would name another tree
        syslog(LOG_ERR, "%s (%d) Failed to open directory %s ", kLogName, __LINE__, path);
        return;
    }
    Walk walk = {mode, mask, {}, {}, {}};
    snprintf(walk.path, sizeof walk.path, "%s", path);
    // A slash at the end would stand doubled in every path below.
    for (size_t length = strlen(walk.path); length > 1 && walk.path[length - 1] == '/'; --length)
        walk.path[length - 1] = '\0';
    DirectoryEnter(walk, false);
    while (!walk.levels.empty())
        LevelAdvance(walk);
}

void TreeRemove(const char *path, int mask) {
    if (mask & kWalkMedia)
        MediaInfoDBDelete(kMediaTree, path);
    if ((mask & kWalkPhotoLibrary) && IsInPhotoLibrary(path))
        PhotoInfoDBDirDelete(path);
}

int SharesReindex(int mask) {
    switch (mask) {
    case kWalkMusicShare:
        ShareReindex(kMusicShareLink);
        return 0;
    case kWalkVideoShare:
        ShareReindex(kVideoShareLink);
        return 0;
    case kWalkMedia:
        for (const char *link : kShareLinks)
            ShareReindex(link);
        return 0;
    default:
        syslog(LOG_ERR, "%s (%d) index type must be VELUINDEX_MEDIA", kLogName, __LINE__);
        return -1;
    }
}

} // namespace

int IndexDirWalk(const char *path, int mode, int mask) {
    const bool known_mode =
        mode == kIndexAdd || mode == kIndexRemove || mode == kIndexReindex || mode == kIndexUpdate;
    if (!known_mode || (path == nullptr && mode != kIndexReindex)) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    switch (mode) {
    case kIndexReindex:
        return SharesReindex(mask);
    case kIndexRemove:
        TreeRemove(path, mask);
        return 0;
    default:
        if (!IsDirExist(path) && IsFileExist(path, nullptr))
            FileVisit(path, mode, mask);
        else
            TreeWalk(path, mode, mask);
        return 0;
    }
}

void ShareReindex(const char *link) {
    char target[kSharePathSize];
    if (!ShareTargetGet(link, target))
        return;
    MediaInfoDBDelete(kMediaTree, target);
    IndexDirWalk(target, kIndexAdd, kWalkMedia);
}
