// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/album_rights.h"

#include <string.h>
#include <syslog.h>
#include <time.h>

#include <string>

#include "photo/album_rows.h"
#include "photo/photo_rows.h"
#include "photo/sql_text.h"

namespace {

constexpr char kLogName[] = "photo_share.c";

constexpr size_t kFieldSize = 128;
constexpr size_t kStatementSize = 4096;
constexpr size_t kTimeSize = 32;

std::string TimeNow() {
    const time_t now = time(nullptr);
    struct tm local;
    char text[kTimeSize] = "";
    if (localtime_r(&now, &local) == nullptr || asctime_r(&local, text) == nullptr)
        return {};
    return text;
}

bool IdGet(const char *album, char (&id)[kFieldSize]) {
    if (VELUPhotoShareGetFieldValue(album, "shareid", id, sizeof id) == 0)
        return true;
    syslog(LOG_ERR, "%s (%d) VELUPhotoShareGetFieldValue failed.", kLogName, __LINE__);
    return false;
}

} // namespace

int VELUPhotoShareSubDirPrivilegeAdd(const char *sub_album, const char *parent_album) {
    char parent_id[kFieldSize];
    if (!IdGet(parent_album, parent_id))
        return -1;
    const PhotoRows rights(PhotoInfoDBOpen(kPhotoTableAccessRight, "*",
                                           SqlFormat(kStatementSize, "shareid = '%s'", parent_id).c_str(),
                                           nullptr, 0));
    if (rights == nullptr) {
        syslog(LOG_ERR, "%s (%d) Error occurred, failed to get records.", kLogName, __LINE__);
        return -1;
    }
    const VELUDBResult *result = VELUIndexRowsResult(rights.get());
    if (VELUDBRowCount(result) == 0)
        return 0;
    char sub_id[kFieldSize];
    if (!IdGet(sub_album, sub_id))
        return -1;
    for (int row = -1; VELUDBFetchRow(result, &row) == 0;) {
        const char *user = VELUDBFetchField(result, row, "userid");
        const std::string sql =
            SqlFormat(kStatementSize, "Insert into photo_access_right Values (%s, %s, '%s')",
                      user != nullptr ? user : "null", sub_id, TimeNow().c_str());
        if (AlbumExec(sql) < 0)
            return -1;
    }
    return 0;
}

int VELUPhotoShareSubDirUpdatePrivilege(const char *sub_album) {
    const char *slash = sub_album != nullptr ? strchr(sub_album, '/') : nullptr;
    if (slash == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    const std::string parent(sub_album, slash);
    char parent_public[kFieldSize];
    if (VELUPhotoShareGetFieldValue(parent.c_str(), "public", parent_public, sizeof parent_public) != 0) {
        syslog(LOG_ERR, "%s (%d) VELUPhotoShareGetFieldValue failed.", kLogName, __LINE__);
        return -1;
    }
    if (VELUPhotoShareSubDirUpdatePublic(sub_album, parent_public) != 0) {
        syslog(LOG_ERR, "%s (%d) VELUPhotoShareSubDirUpdatePublic failed.", kLogName, __LINE__);
        return -1;
    }
    if (strcmp(parent_public, "t") == 0)
        return 0;
    if (VELUPhotoShareSubDirPrivilegeAdd(sub_album, parent.c_str()) != 0) {
        syslog(LOG_ERR, "%s (%d) VELUPhotoShareSubDirPrivilegeAdd failed.", kLogName, __LINE__);
        return -1;
    }
    return 0;
}
