// SPDX-License-Identifier: GPL-2.0-or-later
//
// Brings the rows of the photo library in step with the disk.
#include "photo/photo_sync.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <unordered_set>

#include "catalogue/picture_columns.h"
#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/storage_away.h"
#include "daemon/storage_mounts.h"
#include "daemon/tree_cursor.h"
#include "daemon/walk_presence.h"
#include "daemon/walk_rules.h"
#include "photo/directory_names.h"
#include "photo/flv_converter.h"
#include "photo/library_films.h"
#include "photo/photo_index.h"
#include "photo/photo_known.h"
#include "photo/photo_rows.h"
#include "photo/pictures_in_step.h"
#include "photo/sql_text.h"
#include "platform/index/picture_rows.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr size_t kPathSize = 4096;
constexpr size_t kConditionRoom = 64; // beside the paths

using Paths = std::vector<std::string>;
using PathSet = std::unordered_set<std::string>;

// What follows a walk through the whole share: every row without a mark goes.
struct Sweep {
    bool whole = true;    // all was read
    bool possible = true; // rows that are to be kept have their marks
    Paths links = {};     // links to directories of other file systems
};

// The rows directly in a directory.
struct Known {
    bool follows = false;     // the library takes from the media catalogue what that has
    PicturesInStep step = {}; // then
    Paths marks = {};         // rows to which nothing else is done
    PathSet paths;            // of pictures and of videos
    PathSet media;            // of pictures, in the media catalogue
    bool media_told = false;
};

void PathsJoin(const PhotoPathList *list, PathSet *paths) {
    for (; list != nullptr; list = list->next)
        paths->insert(list->path);
}

// With `again` also what the media catalogue has of pictures: the one may have lost what the other has.
bool KnownGet(const char *dir, bool again, Known *known) {
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
    const auto media = [&](int table) {
        return MediaRows(MediaInfoDBOpen(table, "path", condition.c_str(), "path asc", 0));
    };
    const MediaRows videos = media(kMediaVideo);
    PathsJoin(PathList(PhotoPathDBGet(photos.get())).get(), &known->paths);
    PathsJoin(PathList(PhotoPathDBGet(videos.get())).get(), &known->paths);
    if (!again)
        return true;
    const MediaRows pictures = media(kMediaPhoto);
    PathsJoin(PathList(PhotoPathDBGet(pictures.get())).get(), &known->media);
    known->media_told = pictures != nullptr;
    return true;
}

// True for a known picture that the media catalogue has lost.
bool LacksMedia(const Known &known, const char *path) {
    return known.media_told && known.media.count(path) == 0 && HasPictureExtension(path);
}

// Looks at a file of a directory. What the media catalogue has of it as it is now, the library takes from there.
PictureStep StepLook(const PicturesInStep &pictures, const char *path) {
    const PictureStep step = PictureStepOf(pictures, path + pictures.directory.size() + 1);
    if (step == PictureStep::media)
        PictureRowUse(path);
    return step;
}

void KnownPathUpdate(const Known &known, const char *path, bool *missed) {
    if (!IsSeen(path)) {
        *missed = HasPictureExtension(path);
        return;
    }
    VELUIndexRunPause();
    if (LacksMedia(known, path))
        IndexFileAdd(path, kIndexAdd);
    PhotoLibraryFileUpdate(path, kIndexUpdate, missed);
}

void NewPathAdd(const Known &known, const char *path) {
    if (!IsSeen(path))
        return;
    VELUIndexRunPause();
    const bool indexed = known.follows && StepLook(known.step, path) != PictureStep::behind;
    if (indexed || IndexFileAdd(path, kIndexAdd) == 0)
        PhotoLibraryFileUpdate(path, kIndexAdd);
    else
        FlvConverterRun(path);
}

// The photo library takes files by their extensions, so that a name without one needs no look.
bool HasDot(const char *name) {
    return strchr(name, '.') != nullptr;
}

// Keeps the rows at and below a path, of which a walk that is to be followed by a sweep can tell nothing.
void RowsKeep(Sweep *sweep, std::string path, const char *reason, int line = __builtin_LINE()) {
    if (sweep == nullptr)
        return;
    syslog(LOG_ERR, "%s (%d) The rows at and below %s are kept. (%s)", kLogName, line, path.c_str(), reason);
    sweep->whole = false;
    path.resize(std::min(path.size(), kPathSize - 1)); // no row's path is longer
    sweep->possible = VELUPhotoKeepRows(path.c_str()) == 0 && sweep->possible;
}

// The same for a known picture that could not be saved, unless that is because it is gone or not the library's any more.
void RowKeep(Sweep *sweep, const char *path) {
    off_t size = 0;
    const MetFile met = MetFileLook(path, &size);
    if (met == MetFile::unreadable || (met == MetFile::there && IsLibraryPath(path) && IsLibrarySize(size)))
        RowsKeep(sweep, path, met == MetFile::there ? "it could not be saved" : "it could not be read");
}

// True when the walk goes on to no purpose; then its sweep would not know what is there.
bool GivenUp(Sweep *sweep) {
    if (!BlVELUIndexRunGivesUp())
        return false;
    if (sweep != nullptr)
        sweep->possible = false;
    return true;
}

int DirectoryRefresh(const char *dir, const std::vector<std::string> &entries, bool again, Sweep *sweep) {
    Known known;
    if (!KnownGet(dir, again, &known)) {
        RowsKeep(sweep, dir, "its rows could not be read");
        return -1;
    }
    known.follows = sweep != nullptr && !again && ActiveWalkRules().library_follows &&
                    PicturesInStepGet(dir, &known.step);
    Paths new_paths;
    for (const std::string &entry : entries) {
        if (GivenUp(sweep))
            return -1;
        char path[kPathSize];
        const int length = snprintf(path, sizeof path, "%s/%s", dir, entry.c_str());
        if (length >= static_cast<int>(sizeof path))
            RowsKeep(sweep, path, strerror(ENAMETOOLONG));
        bool missed = false;
        const bool is_known = known.paths.count(path) != 0;
        if (is_known && known.follows && StepLook(known.step, path) == PictureStep::both)
            known.marks.emplace_back(path);
        else if (is_known)
            KnownPathUpdate(known, path, &missed);
        else
            new_paths.emplace_back(path);
        if (missed && sweep != nullptr)
            RowKeep(sweep, path);
    }
    if (PictureRowsMark(known.marks) != 0)
        RowsKeep(sweep, dir, "its rows could not be marked");
    for (const std::string &path : new_paths) {
        if (GivenUp(sweep))
            return -1;
        NewPathAdd(known, path.c_str());
    }
    return 0;
}

int TreeResync(const char *path, bool again, Sweep *sweep, const std::vector<std::string> &away) {
    TreeCursor cursor = TreeBegin(
        path, {.rules = &ActiveWalkRules().library, .listed = HasDot, .untold = PhotoShareNeedsStat != 0});
    bool begun = false;
    int result = 0;
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done && !GivenUp(sweep);
         event = TreeNext(&cursor)) {
        if (event == TreeEvent::entered && std::ranges::find(away, cursor.path) != away.end()) {
            TreeLeave(&cursor);
            continue;
        }
        if (event == TreeEvent::entered && sweep != nullptr && IsLinkToOtherDevice(cursor))
            sweep->links.push_back(cursor.path);
        if (event == TreeEvent::listed) {
            begun = true;
            if (!cursor.names.empty())
                DirectoryRefresh(cursor.path.c_str(), cursor.names, again, sweep);
        }
        const bool unread = event == TreeEvent::left && IsUnread(cursor.end);
        if (unread && !begun)
            result = -1;
        if (unread && (!begun || cursor.end != PlaceEnd::too_long))
            syslog(LOG_ERR, "%s (%d) Failed to open directory %s", kLogName, __LINE__, cursor.path.c_str());
        if (unread || event == TreeEvent::entry)
            RowsKeep(sweep, cursor.path, strerror(cursor.error));
    }
    return result;
}

int NothingSwept(const char *target, int line = __builtin_LINE()) {
    syslog(LOG_ERR, "%s (%d) The rows below %s are kept. (the catalogue failed in between)", kLogName, line,
           target);
    return -1;
}

int ShareResync(bool again) {
    char target[kSharePathSize];
    if (!ShareTargetGet(kPhotoShareLink, target)) {
        syslog(LOG_ERR, "%s (%d) Failed to read link of %s", kLogName, __LINE__, kPhotoShareLink);
        return -1;
    }
    const uint64_t losses = VELUIndexRunLosses(Catalogue::photo);
    const std::vector<std::string> away = ShareAwayIn(target, PhotoKnows);
    for (const std::string &place : away)
        syslog(LOG_ERR, "%s (%d) The storage of %s is away: its pictures are kept.", kLogName, __LINE__,
               place.c_str());
    if (away == Paths{target})
        return -1;
    if (VELUPhotoInitAllRows() != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to set updated to 0 for all rows.", kLogName, __LINE__);
        return -1;
    }
    Sweep sweep;
    if (TreeResync(target, again, &sweep, away) != 0)
        return -1;
    for (const std::string &place : away)
        sweep.possible = VELUPhotoKeepRows(place.c_str()) == 0 && sweep.possible;
    VELUIndexRunFlush();
    if (!sweep.possible || VELUIndexRunLosses(Catalogue::photo) != losses)
        return NothingSwept(target);
    if (VELUPhotoDeleteNoUpdateRows() != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to delete none updated rows.", kLogName, __LINE__);
        return -1;
    }
    if (ActiveWalkRules().library_follows)
        LibraryFilmsSettle(target);
    if (sweep.whole && !StorageRemember(target, away, sweep.links))
        syslog(LOG_ERR, "%s (%d) Failed to write %s. (%s)", kLogName, __LINE__, storage_files.remembered,
               strerror(errno));
    return 0;
}

} // namespace

int PhotoDirRefresh(const char *dir, const std::vector<std::string> *entries, bool again) {
    if (dir == nullptr || *dir == '\0' || entries == nullptr || entries->empty()) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    return DirectoryRefresh(dir, *entries, again, nullptr);
}

int PhotoLibraryResync(const char *path, bool again) {
    return path == nullptr ? ShareResync(again) : TreeResync(path, again, nullptr, {});
}
