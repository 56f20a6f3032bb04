// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_commands.h"

#include <string.h>
#include <syslog.h>

#include <string>
#include <vector>

#include "catalogue/features.h"
#include "catalogue/listed_name.h"
#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/index_beside.h"
#include "daemon/queue_rename.h"
#include "daemon/storage_away.h"
#include "daemon/walk_presence.h"
#include "daemon/walk_reindex.h"
#include "daemon/walk_rules.h"
#include "daemon/walker.h"
#include "photo/album_path.h"
#include "photo/flv_converter.h"
#include "photo/photo_index.h"
#include "photo/photo_known.h"
#include "photo/photo_share.h"
#include "photo/photo_sync.h"
#include "platform/clock.h"
#include "platform/path.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";

constexpr int kWalkBoth = kWalkMedia | kWalkPhotoLibrary;

// How long it counts what was told of the storage of a directory. To ask costs as much as a small file.
constexpr int64_t kStorageToldMilliseconds = 1000;

int CatalogueKnows(const std::string &path, bool itself) {
    return supportphoto ? PhotoKnows(path, itself) : MediaKnows(path, itself);
}

// The path as rows and the targets of shares are written.
std::string RowPathOf(const char *path) {
    return std::string(PathWithoutEndSlashes(path));
}

// True for what is there, and for what may be there as far as anybody can tell now; a line says so.
bool StillExists(const char *path, int line = __builtin_LINE()) {
    // With a slash behind it nothing but a directory would be found.
    const std::string place(PathOfDirectory(path));
    const bool exists = IsDirExist(place.c_str()) || IsFileExist(place.c_str(), nullptr);
    if (exists && !IsListedName(place.c_str()))
        return false;
    if (exists) {
        syslog(LOG_ERR, "%s (%d) Dir or File exists (%s). Skip remove it from database.", kLogName, line,
               path);
        return true;
    }
    int error = 0;
    if (MayBeThere(place.c_str(), &error) && error != 0) {
        syslog(LOG_ERR, "%s (%d) The rows at and below %s are kept. (%s)", kLogName, line, path,
               strerror(error));
        return true;
    }
    if (!StorageIsAway(RowPathOf(path), ShareTargetsGet(), CatalogueKnows))
        return false;
    syslog(LOG_ERR, "%s (%d) The storage of %s is away: its rows are kept.", kLogName, line, path);
    return true;
}

// True for what lies in the place of storage that is away: it is not indexed, and a line says so. Lines in a row are about
// one directory mostly, which is asked for once a second.
bool IsInPlaceOfStorage(const std::string &path, int line = __builtin_LINE()) {
    static struct {
        std::string directory;
        int64_t since = 0;
        bool away = false;
    } told;
    const std::string directory = path.substr(0, path.rfind('/') + 1);
    const int64_t now = MonotonicMilliseconds();
    if (directory != told.directory || now - told.since >= kStorageToldMilliseconds) {
        told.away = StorageIsBelowAway(directory + '.', ShareTargetsGet(), CatalogueKnows);
        told.directory = directory;
        told.since = now;
    }
    if (!told.away || (!IsDirExist(path.c_str()) && !IsFileExist(path.c_str(), nullptr)))
        return false;
    syslog(LOG_ERR, "%s (%d) The storage of %s is away: it is not indexed.", kLogName, line, path.c_str());
    return true;
}

// True for what the rules leave out; it has no rows from then on.
bool IsLeftOutForgotten(const char *path) {
    if (!IsLeftOutPath(path))
        return false;
    if (MediaKnows(path, true) == 1)
        MediaInfoDBDelete(kMediaTree, path);
    return true;
}

void TreeAdd(const char *path) {
    if (IsInPlaceOfStorage(path) || IsLeftOutForgotten(path) || !IsListedName(path))
        return;
    IndexDirWalk(path, kIndexAdd, kWalkBoth);
    if (!IsDirExist(path)) {
        BesideUpdate(path);
        return;
    }
    const std::string tree = RowPathOf(path);
    if (IsInPhotoLibrary(path) && StorageAwayIn(tree, CatalogueKnows) != std::vector<std::string>{tree}) {
        PhotoShareFsCheck();
        PhotoShareTreeAdd(AlbumPathOf(path).c_str());
    }
}

void TreeRemove(const char *path) {
    if (StillExists(path))
        return;
    IndexDirWalk(path, kIndexRemove, kWalkBoth);
    BesideUpdate(path);
    if (IsInPhotoLibrary(path))
        PhotoShareUpdate(AlbumPathOf(path).c_str(), kAlbumDelete);
}

void FileAdd(const char *path) {
    if (IsInPlaceOfStorage(path) || IsLeftOutForgotten(path) || !IsListedName(path))
        return;
    const int result = IndexFileAdd(path, kIndexAdd);
    BesideUpdate(path);
    if (!IsInPhotoLibrary(path))
        return;
    if (result == 0)
        PhotoLibraryFileUpdate(path, kIndexAdd);
    else
        FlvConverterRun(path);
    if (IsDirExist(path))
        PhotoShareUpdate(AlbumPathOf(path).c_str(), kAlbumCreate);
}

void FileRemove(const char *path) {
    if (StillExists(path))
        return;
    IndexFileAdd(path, kIndexRemove);
    BesideUpdate(path);
    if (IsInPhotoLibrary(path))
        PhotoLibraryFileUpdate(path, kIndexRemove);
}

void Rename(const QueueRequest &request) {
    const char *new_path = request.argument.c_str();
    const char *old_path = request.old_path.c_str();
    if (IsLeftOutPath(new_path) && RowPathOf(new_path) != RowPathOf(old_path))
        TreeRemove(old_path);
    else if (request.again)
        PathRenameAgain(new_path, old_path);
    else
        PathRename(new_path, old_path);
}

void PhotoLibraryReindex(bool again) {
    PhotoShareFsCheck();
    PhotoLibraryResync(nullptr, again);
    if (BlVELUIndexRunGivesUp())
        return;
    PhotoDBVacuum();
    PhotoShareResync(nullptr);
}

bool HasPhotoShare() {
    char target[kSharePathSize];
    return supportphoto && ShareTargetGet(kPhotoShareLink, target);
}

void Reindex(const char *what, bool again) {
    const bool follows = ActiveWalkRules().library_follows;
    if (strcmp(what, kPhotoWord) == 0) {
        if (follows)
            ShareReindex(kPhotoShareLink);
        PhotoLibraryReindex(again);
    } else if (strcmp(what, kMusicWord) == 0) {
        IndexDirWalk(nullptr, kIndexReindex, kWalkMusicShare);
    } else if (strcmp(what, kVideoWord) == 0) {
        IndexDirWalk(nullptr, kIndexReindex, kWalkVideoShare);
    } else {
        IndexDirWalk(nullptr, kIndexReindex, kWalkMedia);
        if (follows && HasPhotoShare())
            PhotoLibraryReindex(again);
    }
}

void PhotoLibraryUpdate(const char *what) {
    if (strcmp(what, kPhotoWord) != 0)
        return;
    char target[kSharePathSize];
    if (!ShareTargetGet(kPhotoShareLink, target)) {
        syslog(LOG_ERR, "%s (%d) Failed to read link of %s", kLogName, __LINE__, kPhotoShareLink);
        return;
    }
    PhotoShareFsCheck();
    IndexDirWalk(target, kIndexUpdate, kWalkPhotoLibrary);
}

} // namespace

void QueueRequestExecute(const QueueRequest &request) {
    const char *argument = request.argument.c_str();
    switch (request.command) {
    case kCommandTreeAdd:
        TreeAdd(argument);
        break;
    case kCommandTreeRemove:
        TreeRemove(argument);
        break;
    case kCommandFileAdd:
        FileAdd(argument);
        break;
    case kCommandFileRemove:
        FileRemove(argument);
        break;
    case kCommandRename:
        Rename(request);
        break;
    case kCommandReindex:
        Reindex(argument, request.again);
        break;
    case kCommandTruncate:
        VELUTruncateTable(argument);
        break;
    case kCommandUpdate:
        PhotoLibraryUpdate(argument);
        break;
    }
}
