// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_rename.h"

#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/features.h"
#include "catalogue/listed_name.h"
#include "catalogue/moved_file.h"
#include "catalogue/photo_date.h"
#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/index_beside.h"
#include "daemon/path_rules.h"
#include "daemon/storage_away.h"
#include "daemon/walk_reindex.h"
#include "daemon/walk_rules.h"
#include "daemon/walker.h"
#include "photo/album_path.h"
#include "photo/library_films.h"
#include "photo/photo_index.h"
#include "photo/photo_share.h"
#include "photo/photo_sync.h"
#include "photo/rows_gone.h"
#include "platform/index/file_state.h"
#include "platform/index/media_move.h"
#include "platform/path.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

void VideoTablesRename(const char *new_path, const char *old_path) {
    PhotoVideoInfoPathRename(kPhotoTableVideoDesc, new_path, old_path);
    PhotoVideoInfoPathRename(kPhotoTableVideoComment, new_path, old_path);
}

// Where rows have moved to whose files may have gone on from there: that is known when all requests are done.
std::vector<std::string> moved_to;

// True for what has come to a path since something moved away from it.
bool IsThereAgain(const char *old_path) {
    return !PathIsGone(old_path) && IsListedName(old_path);
}

bool IsGone(const std::string &path) {
    return PathIsGone(path.c_str()) && !StorageIsAway(path, ShareTargetsGet(), MediaKnows);
}

// Removes the row of a file that is not where its row has moved to.
void GoneRowRemove(const std::string &path) {
    if (IsGone(path))
        MediaInfoDBDelete(kMediaTree, path.c_str());
}

// Calls `take` for the path of each media row below a directory, by the rules `complete`. What it does to that row is no matter.
template <typename Take>
void RowsBelow(const std::string &directory, Take take) {
    std::vector<std::string> paths = {directory};
    while (!paths.empty()) {
        const std::string behind = paths.back();
        paths.clear();
        FileStatesNext(directory, behind,
                       [&](std::string_view path, auto, auto) { paths.emplace_back(path); });
        std::ranges::for_each(paths, take);
    }
}

// Removes the library's rows at and below a path that are of pictures and films which are not there.
void GoneLibraryRowsRemove(const std::string &path) {
    if (!ActiveWalkRules().library_follows || !IsInPhotoLibrary(path.c_str()))
        return;
    std::vector<std::string> gone;
    if (!RowsGoneGet(Catalogue::photo, kPhotoTableImage, path.c_str(), &gone))
        return;
    if (IsGone(path))
        gone.push_back(path);
    for (const std::string &picture : gone)
        PhotoIndexDelete(picture.c_str());
    LibraryFilmsSettle(path.c_str());
}

// Removes the rows of a directory and of those above it, below `top`, that are gone.
void GoneDirectoriesForget(std::string directory, const std::string &top) {
    for (; directory.size() > top.size() && IsGone(directory); directory.resize(directory.rfind('/')))
        MediaDirectoryForget(directory.c_str());
}

// Returns the first that is gone of the directories on the way down to a path, or the path.
std::string FirstGone(const std::string &path, const std::string &from) {
    for (size_t end = path.find('/', from.size() + 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
        if (PathIsGone(path.substr(0, end).c_str()))
            return path.substr(0, end);
    }
    return path;
}

// Moves the rows under a directory that is there again whose files have moved, and leaves those of files that came later. `again`:
// those may have their rows already.
void MovedRowsMove(const char *new_path, const char *directory, bool again) {
    const std::string from(PathWithoutEndSlashes(directory));
    const std::string to(PathWithoutEndSlashes(new_path));
    if (PathIsAtOrUnder(to, from) || PathIsAtOrUnder(from, to)) {
        RowsBelow(from, GoneRowRemove);
        return;
    }
    moved_to.push_back(to);
    std::string moved; // the last directory that was moved whole
    std::string left;
    RowsBelow(from, [&](const std::string &path) {
        if (!moved.empty() && PathIsAtOrUnder(path, moved))
            return;
        const std::string top = FirstGone(path, from);
        const std::string target = to + top.substr(from.size());
        if (!IsGone(top) && (again || PathIsGone(target.c_str())))
            return;
        MovedTreeKeep(target, top);
        if (top != path)
            moved = top;
        else if (const std::string above = path.substr(0, path.rfind('/')); above != left)
            GoneDirectoriesForget(left = above, from);
    });
    MovedAlbumKeep(to, from);
}

// Moves all rows at and below a path. False when they are to be made anew.
bool RowsMove(const char *new_path, const char *old_path) {
    const std::string from(PathWithoutEndSlashes(old_path));
    const std::string to(PathWithoutEndSlashes(new_path));
    if (RuleSetActive() != RuleSet::complete || PathIsAtOrUnder(from, to) || PathIsAtOrUnder(to, from))
        return false;
    if (IsThereAgain(old_path)) {
        MovedRowsMove(new_path, old_path, false);
        return true;
    }
    moved_to.push_back(to);
    return MovedUnseenKeep(to, from) == 0;
}

// Removes the media rows under a directory whose files are gone, or moves them.
void GoneRowsMove(const char *new_path, const char *directory) {
    if (RuleSetActive() == RuleSet::complete) {
        MovedRowsMove(new_path, directory, true);
        return;
    }
    for (int kind = kMediaMusic; kind <= kMediaPlaylist; ++kind) {
        std::vector<std::string> paths;
        if (!RowsGoneGet(Catalogue::media, kind, directory, &paths))
            continue;
        for (const std::string &path : paths)
            MediaInfoDBDelete(kind, path.c_str());
    }
}

// True for files that are handed to the same reader under the same extension, which may decide how they are read. A picture may
// have its date from its name.
bool AreReadAlike(const char *path, const char *other) {
    const IndexHandler *handler = IndexHandlerOf(path);
    return handler != nullptr && handler == IndexHandlerOf(other) &&
           IndexRecipeReader(IndexRecipeOf(handler->indexer), path) != nullptr &&
           (!HasPictureExtension(path) || DateOfName(path) == DateOfName(other));
}

// True when a file is not at a path, or cannot be looked at there.
bool IsOutOfSight(const char *path) {
    struct stat status;
    return stat(std::string(PathOfDirectory(path)).c_str(), &status) != 0;
}

// Moves the row of a file that need not be read again, or cannot be, or of what is no more at the new path: its next rename comes
// behind.
void RowMove(const char *new_path, const char *old_path) {
    if (RuleSetActive() != RuleSet::complete)
        return;
    if (IsOutOfSight(new_path))
        RowsMove(new_path, old_path);
    else if (!IsThereAgain(old_path) && AreReadAlike(new_path, old_path))
        MovedFileKeep(new_path, old_path);
}

// Takes out of the photo library what has moved to where it has none.
void LibraryLeave(const char *old_path) {
    if (!ActiveWalkRules().library_follows || !IsInPhotoLibrary(old_path) || IsThereAgain(old_path))
        return;
    IndexDirWalk(old_path, kIndexRemove, kWalkPhotoLibrary);
    PhotoShareUpdate(AlbumPathOf(old_path).c_str(), kAlbumDelete);
}

// Has the library take what the media catalogue says of a file by its new name.
void LibraryFollow(const char *new_path, const char *old_path, bool left_out) {
    if (!left_out && HasPictureExtension(new_path)) {
        PhotoLibraryFileUpdate(new_path, kIndexUpdate);
    } else if (HasFilmExtension(new_path)) {
        VELUIndexPhotoVideosMove(new_path, old_path);
        if (!left_out && !IsOutOfSight(new_path))
            VELUIndexPhotoUpdateVideoStatus(new_path);
    }
}

void FileRename(const char *new_path, const char *old_path) {
    const bool left_out = IsLeftOutPath(new_path);
    if (!left_out)
        RowMove(new_path, old_path);
    IndexFileAdd(old_path, kIndexRemove);
    if (!left_out)
        IndexFileAdd(new_path, kIndexAdd);
    BesideUpdate(old_path);
    BesideUpdate(new_path);
    if (!IsInPhotoLibrary(new_path)) {
        LibraryLeave(old_path);
        return;
    }
    PhotoPathRename(new_path, old_path, 0);
    if (ActiveWalkRules().library_follows)
        LibraryFollow(new_path, old_path, left_out);
    else if (supportcinehall && BlVELUIndexIsVideoOnWebFile(new_path))
        VideoTablesRename(new_path, old_path);
}

bool IsOneTree(std::string_view one, std::string_view other) {
    return PathWithoutEndSlashes(one) == PathWithoutEndSlashes(other);
}

void TreeRename(const char *new_path, const char *old_path) {
    const bool is_one = IsOneTree(new_path, old_path);
    // The library's rows move before the walk that is to find them in step.
    const bool walked_last = !is_one && ActiveWalkRules().library_follows && IsInPhotoLibrary(new_path);
    // A tree that is renamed to itself is indexed anew: what of it cannot be read now is not forgotten.
    if (is_one)
        SubTreeReindex(new_path);
    else if (!RowsMove(new_path, old_path))
        IndexDirWalk(old_path, kIndexRemove, kWalkMedia);
    if (!is_one && !walked_last)
        IndexDirWalk(new_path, kIndexAdd, kWalkMedia);
    if (!IsInPhotoLibrary(new_path)) {
        LibraryLeave(old_path);
        return;
    }
    PhotoPathRename(new_path, old_path, 1);
    PhotoShareRename(AlbumPathOf(new_path).c_str(), AlbumPathOf(old_path).c_str());
    if (walked_last) {
        VELUIndexPhotoVideosMove(new_path, old_path);
        IndexDirWalk(new_path, kIndexAdd, kWalkMedia | kWalkPhotoLibrary);
    } else if (supportcinehall) {
        VideoTablesRename(new_path, old_path);
    }
}

} // namespace

void RenamesSettle() {
    for (const std::string &tree : std::exchange(moved_to, {})) {
        GoneRowRemove(tree);
        RowsBelow(tree, GoneRowRemove);
        GoneLibraryRowsRemove(tree);
    }
}

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
        GoneRowsMove(new_path, old_path);
        if (!PathIsGone(new_path))
            IndexDirWalk(new_path, kIndexAdd, kWalkMedia);
        BesideUpdate(old_path);
        BesideUpdate(new_path);
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
