// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_share.h"

#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <sys/vfs.h>
#include <syslog.h>

#include <string>
#include <vector>

#include "catalogue/shares.h"
#include "photo/album_path.h"
#include "photo/album_rights.h"
#include "photo/album_rows.h"
#include "photo/directory_names.h"
#include "photo/photo_ea.h"
#include "photo/sql_text.h"
#include "platform/configuration.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "photo_share.c";

constexpr char kPublicAttribute[] = "VELUPHOTO:PUBLIC";

constexpr size_t kValueSize = 16; // room for the value of the attribute or of the key
constexpr size_t kPathSize = 4096;
constexpr size_t kStatementRoom = 512; // for the words around the names in a statement

// The number of a file system whose listings do not tell what is a directory.
constexpr uint32_t kStatFileSystem = 0x25521814;

int BadParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

bool IsEmpty(const char *path) {
    return path == nullptr || *path == '\0';
}

bool IsPublic(const char *path) {
    char value[kValueSize] = "";
    if (PhotoSharePublicGet(path, value, sizeof value) == 0)
        return value[0] == '1';
    if (ConfigurationGetWritten(ConfigurationKeyOf("albumdefpublic"), value, sizeof value) < 0) {
        // The message names another key; log filters on the appliance know it so.
        syslog(LOG_ERR, "%s(%d) Can't get key valude. key=%s", kLogName, __LINE__, "supportcinehall");
        return false;
    }
    return strcasecmp(value, "yes") == 0;
}

// Returns an id that is free for the album to be made: this one, or one above it when another program has been faster.
int IdReserve(int id) {
    while (VELUPhotoShareIdReserve(id) == 0) {
        const int next = PhotoShareIdNext();
        if (next <= id) // the catalogue does not answer, and the album will hear of it
            break;
        id = next;
    }
    return id;
}

int AlbumCreate(const char *path, const char *album, const SqlName &name, AlbumLevel level) {
    const bool is_public = IsPublic(path);
    int id = PhotoShareIdNext();
    // An album that is there gets no rights any more, so that it is not there without them.
    VELUIndexTogether together(Catalogue::photo);
    id = IdReserve(id);
    const std::string sql =
        SqlFormat(name.literal.size() + kStatementRoom,
                  "Insert into photo_share values(%d, '%s', '', '', '%s', 0, '', 'true', '%s', '1');", id,
                  name.literal.c_str(), is_public ? "true" : "false", level == kAlbumSub ? "true" : "false");
    if (AlbumExec(sql) < 0)
        return together.Finish(-1);
    if (level == kAlbumSub && VELUPhotoShareSubDirUpdatePrivilege(album) != 0) {
        syslog(LOG_ERR, "%s (%d) VELUPhotoShareSubDirUpdatePrivilege Failed.", kLogName, __LINE__);
        return together.Finish(-1);
    }
    return together.Finish(0);
}

int AlbumDelete(const SqlName &name) {
    const std::string sql =
        SqlFormat(name.literal.size() + name.pattern.size() + kStatementRoom,
                  "Delete from photo_share where sharename = '%s' or sharename like '%s/%%';",
                  name.literal.c_str(), name.pattern.c_str());
    return AlbumExec(sql) < 0 ? -1 : 0;
}

int AllAlbumsDelete() {
    if (PhotoDBExec("Delete from photo_share;") >= 0)
        return 0;
    syslog(LOG_ERR, "%s:%d Failed to exec [Delete from photo_share;]", kLogName, __LINE__);
    return -1;
}

// Gives the row of an album its new name. The number of rows changed, or -1.
int AlbumRowRename(const char *new_album, const char *old_album) {
    SqlName to;
    SqlName from;
    if (!SqlNameEscape(new_album, &to, kLogName) || !SqlNameEscape(old_album, &from, kLogName))
        return -1;
    return AlbumExec(
        SqlFormat(to.literal.size() + from.literal.size() + kStatementRoom,
                  "Update photo_share set sharename = '%s', is_subdir = '%s' where sharename = '%s'",
                  to.literal.c_str(), strchr(new_album, '/') != nullptr ? "t" : "f", from.literal.c_str()));
}

// Has covers and sub-albums follow an album whose row has its new name.
int AlbumFollow(const char *new_path, const char *old_path, AlbumLevel new_level, AlbumLevel old_level) {
    const char *new_album = AlbumNameOf(new_path);
    const char *old_album = AlbumNameOf(old_path);
    if (AlbumCoverMove(new_album, old_album) != 0)
        return -1;
    if (old_level == kAlbumTop && new_level == kAlbumTop) {
        if (VELUPhotoShareRenameSubDir(new_album, old_album) == 0)
            return 0;
        syslog(LOG_ERR, "%s (%d) VELUPhotoShareRenameSubDir failed.", kLogName, __LINE__);
        return -1;
    }
    if (old_level == kAlbumTop && new_level == kAlbumSub)
        return PhotoShareUpdate(old_path, kAlbumDelete);
    return 0;
}

} // namespace

int PhotoSharePublicGet(const char *path, char *out, size_t size) {
    return PhotoEaRead(path, kPublicAttribute, out, static_cast<int>(size));
}

void PhotoShareFsCheck() {
    struct statfs status;
    if (statfs(kPhotoShareLink, &status) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to statfs.", kLogName, __LINE__);
        return;
    }
    PhotoShareNeedsStat = static_cast<uint32_t>(status.f_type) == kStatFileSystem;
}

int PhotoShareUpdate(const char *path, int op) {
    if (IsEmpty(path) || (op != kAlbumCreate && op != kAlbumDelete))
        return BadParameter(__LINE__);
    if (op == kAlbumDelete && IsPhotoShareRoot(path))
        return AllAlbumsDelete();
    const AlbumLevel level = PhotoShareLevelGet(path);
    if (level == kAlbumDeeper)
        return 0;
    char album[kPathSize];
    snprintf(album, sizeof album, "%s", AlbumNameOf(path));
    SqlName name;
    if (!SqlNameEscape(album, &name, kLogName))
        return -1;
    return op == kAlbumCreate ? AlbumCreate(path, album, name, level) : AlbumDelete(name);
}

int PhotoShareTreeAdd(const char *path) {
    if (IsEmpty(path))
        return BadParameter(__LINE__);
    const AlbumLevel level = PhotoShareLevelGet(path);
    if (level == kAlbumDeeper)
        return 0;
    const int result = PhotoShareUpdate(path, kAlbumCreate);
    if (level == kAlbumSub)
        return result;
    std::vector<std::string> names;
    if (!SubDirectoriesGet(path, ActiveWalkRules().library, &names)) {
        syslog(LOG_ERR, "%s (%d) Failed to open directory %s", kLogName, __LINE__, path);
        return -1;
    }
    for (const std::string &name : names) {
        if (BlVELUIndexRunGivesUp())
            return -1;
        PhotoShareUpdate((std::string(path) + '/' + name).c_str(), kAlbumCreate);
    }
    return 0;
}

int PhotoShareRename(const char *new_path, const char *old_path) {
    if (IsEmpty(new_path) || IsEmpty(old_path))
        return BadParameter(__LINE__);
    const AlbumLevel old_level = PhotoShareLevelGet(old_path);
    const AlbumLevel new_level = PhotoShareLevelGet(new_path);
    if (old_level == kAlbumDeeper && new_level == kAlbumDeeper)
        return -1;
    // Done again, a rename finds nothing of the old album: no sub-album may be left behind by then.
    VELUIndexTogether together(Catalogue::photo);
    const int changed = AlbumRowRename(AlbumNameOf(new_path), AlbumNameOf(old_path));
    if (changed < 0)
        return together.Finish(-1);
    if (changed == 0 && IsDirExist(new_path)) {
        static_cast<void>(together.Finish(0));
        PhotoShareFsCheck();
        PhotoShareTreeAdd(new_path);
        return -1;
    }
    if (together.Finish(AlbumFollow(new_path, old_path, new_level, old_level)) != 0)
        return -1;
    if (old_level == kAlbumSub && new_level == kAlbumTop)
        return PhotoShareTreeAdd(new_path);
    return 0;
}
