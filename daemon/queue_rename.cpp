// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_rename.h"

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/features.h"
#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/storage_away.h"
#include "daemon/walk_reindex.h"
#include "daemon/walker.h"
#include "photo/photo_index.h"
#include "photo/photo_share.h"
#include "photo/photo_sync.h"
#include "photo/rows_gone.h"
#include "platform/index/file_state.h"
#include "platform/path.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

void VideoTablesRename(const char *new_path, const char *old_path) {
    PhotoVideoInfoPathRename(kPhotoTableVideoDesc, new_path, old_path);
    PhotoVideoInfoPathRename(kPhotoTableVideoComment, new_path, old_path);
}

void FileRename(const char *new_path, const char *old_path) {
    IndexFileAdd(old_path, kIndexRemove);
    IndexFileAdd(new_path, kIndexAdd);
    if (!IsInPhotoLibrary(new_path))
        return;
    PhotoPathRename(new_path, old_path, 0);
    if (supportcinehall && BlVELUIndexIsVideoOnWebFile(new_path))
        VideoTablesRename(new_path, old_path);
}

bool IsOneTree(std::string_view one, std::string_view other) {
    return PathWithoutEndSlashes(one) == PathWithoutEndSlashes(other);
}

void TreeRename(const char *new_path, const char *old_path) {
    // A tree that is renamed to itself is indexed anew: what of it cannot be read now is not forgotten.
    if (IsOneTree(new_path, old_path)) {
        SubTreeReindex(new_path);
    } else {
        IndexDirWalk(old_path, kIndexRemove, kWalkMedia);
        IndexDirWalk(new_path, kIndexAdd, kWalkMedia);
    }
    if (!IsInPhotoLibrary(new_path))
        return;
    PhotoPathRename(new_path, old_path, 1);
    PhotoShareRename(new_path, old_path);
    if (supportcinehall)
        VideoTablesRename(new_path, old_path);
}

// Removes the media rows under a directory whose files are gone.
void GoneRowsRemove(const char *directory) {
    for (int kind = kMediaMusic; kind <= kMediaPlaylist; ++kind) {
        std::vector<std::string> paths;
        if (!RowsGoneGet(Catalogue::media, kind, directory, &paths))
            continue;
        for (const std::string &path : paths)
            MediaInfoDBDelete(kind, path.c_str());
    }
}

} // namespace

void PathRename(const char *new_path, const char *old_path) {
    FileMove move(new_path, old_path);
    if (IsDirExist(new_path))
        TreeRename(new_path, old_path);
    else
        FileRename(new_path, old_path);
    move.Finish();
}

void PathRenameAgain(const char *new_path, const char *old_path) {
    if (IsOneTree(new_path, old_path)) {
        PathRename(new_path, old_path);
        return;
    }
    if (!PathIsGone(old_path)) {
        FileMove move(new_path, old_path);
        GoneRowsRemove(old_path);
        if (!PathIsGone(new_path))
            IndexDirWalk(new_path, kIndexAdd, kWalkMedia);
        move.Finish();
    } else {
        PathRename(new_path, old_path);
        if (IsFileExist(new_path, nullptr))
            return;
        // A directory that has moved on since left no more than its name here.
        if (PathIsGone(new_path) && !StorageIsAway(old_path, ShareTargetsGet(), MediaKnows))
            IndexDirWalk(old_path, kIndexRemove, kWalkMedia);
    }
    if (IsInPhotoLibrary(new_path))
        PhotoRenameAgain(new_path, old_path);
}
