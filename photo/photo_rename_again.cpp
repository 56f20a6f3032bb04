// SPDX-License-Identifier: GPL-2.0-or-later
//
// A rename in the photo catalogue after which other things may have happened: rows of files that are there stay.
#include <string.h>

#include <string>
#include <vector>

#include "daemon/walker.h"
#include "photo/album_path.h"
#include "photo/album_rows.h"
#include "photo/hand_over_spool.h"
#include "photo/photo_index.h"
#include "photo/photo_rows.h"
#include "photo/photo_share.h"
#include "photo/photo_sync.h"
#include "photo/rows_gone.h"
#include "photo/sql_text.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr size_t kStatementRoom = 128; // beside the paths
constexpr size_t kAlbumIdSize = 16;

std::string Moved(const std::string &path, const char *new_path, const char *old_path) {
    return new_path + path.substr(strlen(old_path));
}

void PicturesMove(const char *new_path, const char *old_path) {
    std::vector<std::string> paths;
    if (!RowsGoneGet(Catalogue::photo, kPhotoTableImage, old_path, &paths))
        return;
    std::vector<PhotoPathList> nodes(paths.size());
    for (size_t i = 0; i < paths.size(); ++i)
        nodes[i] = {paths[i].data(), i + 1 < paths.size() ? &nodes[i + 1] : nullptr};
    if (!nodes.empty())
        VELUUpdatePhotoPath(nodes.data(), new_path, old_path);
}

// A description that somebody has typed takes the place of one that a refresh has made meanwhile.
void VideosMove(int table, const char *new_path, const char *old_path) {
    std::vector<std::string> paths;
    if (!RowsGoneGet(Catalogue::photo, table, old_path, &paths))
        return;
    for (const std::string &path : paths) {
        SqlName from;
        SqlName to;
        if (!SqlNameEscape(path.c_str(), &from, kLogName) ||
            !SqlNameEscape(Moved(path, new_path, old_path).c_str(), &to, kLogName))
            return;
        const size_t room = from.literal.size() + to.literal.size() + kStatementRoom;
        if (table == kPhotoTableVideoDesc)
            PhotoDBExec(
                SqlFormat(room, "delete from video_desc where path = '%s'", to.literal.c_str()).c_str());
        PhotoDBExec(SqlFormat(room, "update %s set path = '%s' where path = '%s'", kPhotoTables[table],
                              to.literal.c_str(), from.literal.c_str())
                        .c_str());
    }
}

// The sub-albums of an album whose directories are gone.
std::vector<std::string> SubAlbumsGone(const char *directory) {
    std::vector<std::string> paths;
    const std::string album = AlbumNameOf(directory);
    SqlName name;
    if (!IsInPhotoLibrary(directory) || PhotoShareLevelGet(directory) != kAlbumTop ||
        !SqlNameEscape(album.c_str(), &name, kLogName))
        return paths;
    const PhotoRows rows(PhotoInfoDBOpen(
        kPhotoTableShare, "sharename",
        SqlFormat(name.pattern.size() + kStatementRoom, "sharename like '%s/%%'", name.pattern.c_str())
            .c_str(),
        nullptr, 0));
    const VELUDBResult *result = VELUIndexRowsResult(rows.get());
    for (int row = -1; VELUDBFetchRow(result, &row) == 0;) {
        const std::string path =
            directory + std::string(VELUDBFetchField(result, row, "sharename")).substr(album.size());
        if (PathIsGone(path.c_str()))
            paths.push_back(path);
    }
    return paths;
}

bool HasAlbum(const char *path) {
    char id[kAlbumIdSize];
    return IsInPhotoLibrary(path) &&
           VELUPhotoShareGetFieldValue(AlbumNameOf(path), "shareid", id, sizeof id) == 0;
}

void AlbumsMove(const char *new_path, const char *old_path) {
    for (const std::string &path : SubAlbumsGone(old_path)) {
        const std::string to = Moved(path, new_path, old_path);
        if (IsDirExist(to.c_str()) && !HasAlbum(to.c_str()))
            PhotoShareRename(to.c_str(), path.c_str());
    }
    if (PathIsGone(old_path) && PathIsGone(new_path) && HasAlbum(old_path))
        PhotoShareRename(new_path, old_path);
    if (!IsDirExist(new_path) || PhotoShareLevelGet(new_path) == kAlbumDeeper)
        return;
    PhotoShareMarkOne(AlbumNameOf(new_path)); // which makes one that is missing
    PhotoShareResync(new_path);
}

} // namespace

void PhotoRenameAgain(const char *new_path, const char *old_path) {
    HandOverSpoolRename(new_path, old_path);
    PicturesMove(new_path, old_path);
    for (const int table : {kPhotoTableVideoDesc, kPhotoTableVideoComment})
        VideosMove(table, new_path, old_path);
    AlbumsMove(new_path, old_path);
    if (!PathIsGone(new_path))
        IndexDirWalk(new_path, kIndexAdd, kWalkPhotoLibrary);
}
