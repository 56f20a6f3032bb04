// SPDX-License-Identifier: GPL-2.0-or-later
//
// Renames of files and directories in the rows of the photo library.
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include "daemon/index.h"
#include "daemon/walker.h"
#include "photo/hand_over_spool.h"
#include "photo/photo_index.h"
#include "photo/photo_rows.h"
#include "photo/photo_sync.h"
#include "photo/sql_text.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr size_t kPathSize = 4096;
constexpr size_t kConditionSize = 4096;
constexpr size_t kConditionRoom = 32; // for the words around the path
constexpr size_t kStatementRoom = 64; // for the words around the paths

int BadParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

bool IsEmpty(const char *path) {
    return path == nullptr || *path == '\0';
}

PhotoRows RowsOpen(int table, const std::string &condition, int line = __builtin_LINE()) {
    PhotoRows rows(PhotoInfoDBOpen(table, "path", condition.c_str(), nullptr, 0));
    if (rows == nullptr)
        syslog(LOG_ERR, "%s (%d) Error occurred, failed to get records.", kLogName, line);
    return rows;
}

// True when one of the paths is the given one or lies under it. Siblings whose names begin with the same
// letters ("a.jpg.jpg" beside "a.jpg") do not count.
bool HoldsPath(const PhotoPathList *list, const char *path) {
    const size_t length = strlen(path);
    for (; list != nullptr; list = list->next) {
        if (strncmp(list->path, path, length) == 0 &&
            (list->path[length] == '\0' || list->path[length] == '/'))
            return true;
    }
    return false;
}

// A path that the catalogue does not know yet.
int UnknownPathAdd(const char *path, bool is_file, PhotoFileKind kind) {
    if (!is_file)
        return IndexDirWalk(path, kIndexAdd, kWalkMedia | kWalkPhotoLibrary);
    return kind == PhotoFileKind::picture ? PhotoIndexAdd(path, kIndexAdd) : 0;
}

// Renames one row of a table of videos, on the connection that its rows came from.
int VideoRowRename(const VELUIndexRows *rows, const char *table, const char *new_path, const char *old_path) {
    SqlName to;
    SqlName from;
    if (!SqlNameEscape(new_path, &to, kLogName) || !SqlNameEscape(old_path, &from, kLogName))
        return -1;
    const std::string sql = SqlFormat(to.literal.size() + from.literal.size() + kStatementRoom,
                                      "Update %s set path = '%s' where path = '%s'", table,
                                      to.literal.c_str(), from.literal.c_str());
    if (VELUIndexRowsExecute(rows, sql.c_str()) >= 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to exec [%s] (%s)", kLogName, __LINE__, sql.c_str(),
           VELUDBErrorGet(VELUIndexRowsConnection(rows)));
    VELUIndexRowsFailed(rows);
    return -1;
}

int RowsRename(const char *new_path, const char *old_path, bool is_dir) {
    const char *dot = strrchr(new_path, '.');
    const bool is_file = dot != nullptr && !IsDirExist(new_path);
    const PhotoFileKind kind = is_file ? PhotoFileKindOf(new_path) : PhotoFileKind::none;
    SqlName old_name;
    if (!SqlNameEscape(old_path, &old_name, kLogName))
        return -1;
    const char *pattern = old_name.pattern.c_str();
    PhotoRows rows =
        RowsOpen(kPhotoTableImage, is_dir ? SqlFormat(kConditionSize, "path like '%s/%%'", pattern)
                                          : SqlFormat(kConditionSize, "path like '%s%%'", pattern));
    if (rows == nullptr)
        return -1;
    const PathList list(PhotoPathDBGet(rows.get()));
    rows.reset(); // while rows are open, each write is a transaction of its own
    if (!HoldsPath(list.get(), old_path))
        return UnknownPathAdd(new_path, is_file, kind);
    if (is_file && kind != PhotoFileKind::picture) {
        PhotoIndexDelete(old_path);
        return -1;
    }
    if (is_file)
        PhotoInfoDBDelete(new_path);
    if (VELUUpdatePhotoPath(list.get(), new_path, old_path) == 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to rename to new path.", kLogName, __LINE__);
    return -1;
}

// Brings texts to their rows that were handed over before the rename, and did not arrive then.
void TextsDeliver(const char *path) {
    for (const std::string &picture : HandOverSpoolPaths(path)) {
        uint64_t size = 0;
        if (IsFileExist(picture.c_str(), &size) &&
            IsLibraryPicture(picture.c_str(), static_cast<int64_t>(size)))
            PhotoIndexAdd(picture.c_str(), kIndexUpdate);
    }
}

} // namespace

int PhotoPathRename(const char *new_path, const char *old_path, int is_dir) {
    if (IsEmpty(new_path) || IsEmpty(old_path))
        return BadParameter(__LINE__);
    HandOverSpoolRename(new_path, old_path);
    const int result = RowsRename(new_path, old_path, is_dir != 0);
    TextsDeliver(new_path);
    return result;
}

int PhotoVideoInfoPathRename(int table, const char *new_prefix, const char *old_prefix) {
    if (IsEmpty(new_prefix) || IsEmpty(old_prefix) ||
        (table != kPhotoTableVideoDesc && table != kPhotoTableVideoComment))
        return BadParameter(__LINE__);
    SqlName old_name;
    if (!SqlNameEscape(old_prefix, &old_name, kLogName))
        return -1;
    const PhotoRows rows = RowsOpen(table, SqlFormat(old_name.pattern.size() + kConditionRoom,
                                                     "path like '%s%%'", old_name.pattern.c_str()));
    const VELUDBResult *result = VELUIndexRowsResult(rows.get());
    if (VELUDBRowCount(result) == 0)
        return -1;
    for (int row = -1; VELUDBFetchRow(result, &row) == 0;) {
        const char *path = VELUDBFetchField(result, row, "path");
        const char *found = path != nullptr ? strstr(path, old_prefix) : nullptr;
        if (found == nullptr)
            continue;
        char renamed[kPathSize];
        snprintf(renamed, sizeof renamed, "%s%s", new_prefix, found + strlen(old_prefix));
        if (VideoRowRename(rows.get(), kPhotoTables[table], renamed, path) != 0)
            return -1;
    }
    return 0;
}
