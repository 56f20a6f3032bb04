// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walker.h"

#include <syslog.h>

#include <algorithm>

#include "catalogue/picture_columns.h"
#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/index_left_out.h"
#include "daemon/path_rules.h"
#include "daemon/storage_away.h"
#include "daemon/tree_cursor.h"
#include "daemon/turns.h"
#include "daemon/walk_presence.h"
#include "daemon/walk_progress.h"
#include "daemon/walk_reindex.h"
#include "daemon/walk_rules.h"
#include "photo/flv_converter.h"
#include "photo/photo_index.h"
#include "photo/pictures_in_step.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "index.c";

// `kept`: the media catalogue has the file as it is.
void FileVisit(const char *path, int mode, int mask, bool kept = false) {
    VELUIndexRunPause();
    int result = 0;
    if ((mask & kWalkMedia) && !kept)
        result = IndexFileAdd(path, mode);
    if ((mask & kWalkPhotoLibrary) && IsInPhotoLibrary(path) && IsSeen(path)) {
        if (kept)
            PictureRowUse(path);
        if (result == 0)
            PhotoLibraryFileUpdate(path, mode);
        else
            FlvConverterRun(path);
    }
    ProgressFile(path);
}

// Visits a file that the media catalogue has as it is. What the library has as it is, too, is nobody's concern.
void KeptFileVisit(KnownPictures *known, const char *path, int mode, int mask) {
    if ((mask & kWalkPhotoLibrary) && HasPictureExtension(path) && IsInPhotoLibrary(path) &&
        IsPictureInStep(known, path)) {
        VELUIndexRunPause();
        ProgressFile(path);
    } else {
        FileVisit(path, mode, mask, true);
    }
}

// Brings the media catalogue in step with rules that leave a place out by now.
void PlaceForget(const std::string &place, bool is_file) {
    if (is_file ? FileMayBeKnown(place.c_str()) : MediaKnows(place, true) == 1)
        MediaInfoDBDelete(kMediaTree, place.c_str());
}

void TreeWalk(const char *path, int mode, int mask) {
    const ProgressTree tree_progress(path);
    TreeCursor cursor = TreeBegin(path, {.rules = &ActiveWalkRules().index,
                                         .cut = true,
                                         .left_out = LeftOutCounted(),
                                         .tells_ignored = true});
    const std::vector<std::string> away =
        IsDirExist(path) ? StorageAwayIn(cursor.path, MediaKnows) : std::vector<std::string>();
    const auto add = [&](const std::string &directory) { IndexFileAdd(directory.c_str(), mode); };
    const auto visit = [&](const std::string &file) { FileVisit(file.c_str(), mode, mask); };
    KnownPictures known;
    const auto keep = [&](const std::string &file) { KeptFileVisit(&known, file.c_str(), mode, mask); };
    Turns turns;
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done && !TurnsGivenUp(&turns);
         event = TreeNext(&cursor)) {
        if (event == TreeEvent::entered && std::ranges::find(away, cursor.path) != away.end()) {
            AwayTell(cursor.path.c_str());
            TreeLeave(&cursor);
        } else if (event == TreeEvent::entered && (mask & kWalkMedia) != 0) {
            TurnTake(&turns, cursor.path, add);
        } else if (event == TreeEvent::entry && cursor.kind == EntryKind::file) {
            if (mask & kWalkMedia)
                FileTurnTake(&turns, cursor.path, visit, keep);
            else
                TurnTake(&turns, cursor.path, visit);
        } else if (event == TreeEvent::entry) {
            LeftOutCount(LeftOutCounted(), cursor.error != 0 ? LeftOut::unseen : LeftOut::special);
        } else if (event == TreeEvent::left && cursor.why != LeftOut::nothing && (mask & kWalkMedia) != 0) {
            const bool is_file = cursor.kind == EntryKind::file;
            TurnTake(&turns, cursor.path, [=](const std::string &place) { PlaceForget(place, is_file); });
        } else if (event == TreeEvent::left && IsUnread(cursor.end)) {
            syslog(LOG_ERR, "%s (%d) Failed to open directory %s ", kLogName, __LINE__, cursor.path.c_str());
        }
    }
    TurnsFinish(&turns);
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
        if (!IsDirExist(path) && IsFileExist(path, nullptr)) {
            if (!IsLeftOutPath(path))
                FileVisit(path, mode, mask);
        } else {
            TreeWalk(path, mode, mask);
        }
        return 0;
    }
}

void ShareReindex(const char *link) {
    char target[kSharePathSize];
    if (!ShareTargetGet(link, target))
        return;
    TreeReindex(target);
}
