// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/album_rows.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include "photo/photo_rows.h"
#include "photo/sql_text.h"

namespace {

constexpr char kLogName[] = "photo_share.c";

// Statements get this much room beside the names in them, or a fixed size.
constexpr size_t kStatementRoom = 512;
constexpr size_t kFieldConditionRoom = 32;
constexpr size_t kRenameStatementSize = 2048;
constexpr size_t kMarkStatementSize = 1024;

PhotoRows AlbumsOpen(const char *condition, const char *order, int limit, int line = __builtin_LINE()) {
    PhotoRows rows(PhotoInfoDBOpen(kPhotoTableShare, "*", condition, order, limit));
    if (rows == nullptr)
        syslog(LOG_ERR, "%s (%d) Error occurred, failed to get records.", kLogName, line);
    return rows;
}

// Moves every cover that lies in an album that was renamed, whichever album shows it.
int CoversMove(const char *new_album, const SqlName &from) {
    SqlName to;
    if (!SqlNameEscape(new_album, &to, kLogName))
        return -1;
    const std::string sql =
        SqlFormat(from.literal.size() + from.pattern.size() + to.literal.size() + kStatementRoom,
                  "UPDATE photo_share SET cover = replace(cover, '/var/services/photo/%s/', "
                  "'/var/services/photo/%s/') WHERE cover like '/var/services/photo/%s/%%'",
                  from.literal.c_str(), to.literal.c_str(), from.pattern.c_str());
    return AlbumExec(sql) < 0 ? -1 : 0;
}

} // namespace

int AlbumExec(const std::string &sql, int line) {
    const int changed = PhotoDBExec(sql.c_str());
    if (changed < 0)
        syslog(LOG_ERR, "%s (%d) Failed to exec [%s]", kLogName, line, sql.c_str());
    return changed;
}

int VELUPhotoShareGetFieldValue(const char *album, const char *field, char *out, size_t size) {
    SqlName name;
    if (!SqlNameEscape(album, &name, kLogName))
        return -1;
    const PhotoRows rows = AlbumsOpen(
        SqlFormat(name.literal.size() + kFieldConditionRoom, "sharename = '%s'", name.literal.c_str())
            .c_str(),
        nullptr, 0);
    const VELUDBResult *result = VELUIndexRowsResult(rows.get());
    if (VELUDBRowCount(result) < 1)
        return -1;
    snprintf(out, size, "%s", VELUDBFetchText(result, 0, field));
    return 0;
}

int PhotoShareIdNext() {
    const PhotoRows rows = AlbumsOpen("shareid > 0", "shareid desc", 1);
    const char *largest = VELUDBFetchField(VELUIndexRowsResult(rows.get()), 0, "shareid");
    return largest != nullptr ? atoi(largest) + 1 : 1;
}

int VELUPhotoShareSubDirUpdatePublic(const char *album, const char *value) {
    SqlName name;
    if (!SqlNameEscape(album, &name, kLogName))
        return -1;
    const std::string sql = SqlFormat(name.literal.size() + kStatementRoom,
                                      "Update photo_share set public = '%s' where sharename = '%s';", value,
                                      name.literal.c_str());
    return AlbumExec(sql) < 0 ? -1 : 0;
}

int AlbumCoverMove(const char *new_album, const char *old_album) {
    SqlName to;
    SqlName from;
    if (!SqlNameEscape(new_album, &to, kLogName) || !SqlNameEscape(old_album, &from, kLogName))
        return -1;
    const std::string sql =
        SqlFormat(from.literal.size() + to.literal.size() * 2 + kStatementRoom,
                  "UPDATE photo_share SET cover = replace(cover, '/var/services/photo/%s/', "
                  "'/var/services/photo/%s/') WHERE sharename='%s'",
                  from.literal.c_str(), to.literal.c_str(), to.literal.c_str());
    const int changed = PhotoDBExec(sql.c_str());
    if (changed < 0)
        syslog(LOG_ERR, "%s:%d Failed to exec [%s]", kLogName, __LINE__, sql.c_str());
    if (changed == 0)
        syslog(LOG_ERR, "%s:%d UPDATE cover failed, sharename [%s] not exists in db.", kLogName, __LINE__,
               new_album);
    return changed > 0 ? 0 : -1;
}

int VELUPhotoShareRenameSubDir(const char *new_album, const char *old_album) {
    SqlName old_name;
    if (!SqlNameEscape(old_album, &old_name, kLogName))
        return -1;
    const PhotoRows rows = AlbumsOpen(
        SqlFormat(kRenameStatementSize, "sharename like '%s/%%'", old_name.pattern.c_str()).c_str(), nullptr,
        0);
    if (rows == nullptr)
        return -1;
    const VELUDBResult *result = VELUIndexRowsResult(rows.get());
    for (int row = -1; VELUDBFetchRow(result, &row) == 0;) {
        const std::string from = VELUDBFetchField(result, row, "sharename");
        const std::string to = new_album + from.substr(strlen(old_album));
        SqlName from_name;
        SqlName to_name;
        if (!SqlNameEscape(from.c_str(), &from_name, kLogName) ||
            !SqlNameEscape(to.c_str(), &to_name, kLogName))
            return -1;
        const std::string sql =
            SqlFormat(kRenameStatementSize, "Update photo_share set sharename = '%s' where sharename = '%s'",
                      to_name.literal.c_str(), from_name.literal.c_str());
        if (AlbumExec(sql) < 0)
            return -1;
    }
    return CoversMove(new_album, old_name);
}

int PhotoShareMarkAll(const char *prefix) {
    SqlName name;
    if (prefix != nullptr && !SqlNameEscape(prefix, &name, kLogName))
        return -1;
    const std::string sql =
        prefix == nullptr ? "Update photo_share set updated = '0'"
                          : SqlFormat(kMarkStatementSize,
                                      "Update photo_share set updated = '0' where sharename like '%s/%%'",
                                      name.pattern.c_str());
    if (PhotoDBExec(sql.c_str()) >= 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to set updated to 0 for all rows.", kLogName, __LINE__);
    return -1;
}

int AlbumTreeMark(const char *album) {
    SqlName name;
    if (!SqlNameEscape(album, &name, kLogName))
        return -1;
    const std::string sql =
        SqlFormat(name.literal.size() + name.pattern.size() + kStatementRoom,
                  "Update photo_share set updated = '1' where sharename = '%s' or sharename like '%s/%%'",
                  name.literal.c_str(), name.pattern.c_str());
    return AlbumExec(sql) < 0 ? -1 : 0;
}

int PhotoShareSweep(const char *prefix) {
    SqlName name;
    if (prefix != nullptr && !SqlNameEscape(prefix, &name, kLogName))
        return -1;
    const std::string sql =
        prefix == nullptr
            ? "Delete from photo_share where updated = '0'"
            : SqlFormat(kMarkStatementSize,
                        "Delete from photo_share where updated = '0' and sharename like '%s/%%'",
                        name.pattern.c_str());
    if (PhotoDBExec(sql.c_str()) >= 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to delete none updated rows.", kLogName, __LINE__);
    return -1;
}
