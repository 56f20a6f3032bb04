// SPDX-License-Identifier: GPL-2.0-or-later
//
// The albums' mark and sweep: every directory of the share marks its row, and rows without a mark go.
#include <syslog.h>

#include <string>
#include <vector>

#include "catalogue/shares.h"
#include "photo/album_path.h"
#include "photo/album_rows.h"
#include "photo/directory_names.h"
#include "photo/photo_rows.h"
#include "photo/photo_share.h"
#include "photo/sql_text.h"

namespace {

constexpr char kLogName[] = "photo_share.c";

constexpr size_t kMarkStatementSize = 512;

bool PhotoShareTargetGet(char (&target)[kSharePathSize], int line = __builtin_LINE()) {
    if (ShareTargetGet(kPhotoShareLink, target))
        return true;
    syslog(LOG_ERR, "%s (%d) Failed to read link of %s", kLogName, line, kPhotoShareLink);
    return false;
}

bool AlbumDirectoriesGet(const char *path, std::vector<std::string> *names) {
    if (!SubDirectoriesGet(path, ActiveWalkRules().albums, names)) {
        syslog(LOG_ERR, "%s (%d) Failed to open directory %s", kLogName, __LINE__, path);
        return false;
    }
    return true;
}

int AlbumResync(const std::string &path) {
    std::vector<std::string> names;
    if (!AlbumDirectoriesGet(path.c_str(), &names))
        return -1;
    for (const std::string &name : names)
        PhotoShareMarkOne((std::string(AlbumNameOf(path.c_str())) + '/' + name).c_str());
    return 0;
}

int ShareResync(const std::string &target) {
    if (PhotoShareMarkAll(nullptr) != 0)
        return -1;
    std::vector<std::string> names;
    if (!AlbumDirectoriesGet(target.c_str(), &names))
        return -1;
    for (const std::string &name : names) {
        PhotoShareMarkOne(name.c_str());
        AlbumResync(target + '/' + name);
    }
    return PhotoShareSweep(nullptr);
}

} // namespace

int PhotoShareMarkOne(const char *sharename) {
    char target[kSharePathSize];
    SqlName name;
    if (!PhotoShareTargetGet(target) || !SqlNameEscape(sharename, &name, kLogName))
        return -1;
    const PhotoRows rows(PhotoInfoDBOpen(
        kPhotoTableShare, "*",
        SqlFormat(kMarkStatementSize, "sharename = '%s'", name.literal.c_str()).c_str(), nullptr, 0));
    if (rows == nullptr) {
        syslog(LOG_ERR, "%s (%d) Error occurred, failed to get records.", kLogName, __LINE__);
        return -1;
    }
    if (VELUDBRowCount(VELUIndexRowsResult(rows.get())) == 0) {
        PhotoShareUpdate((std::string(target) + '/' + sharename).c_str(), kAlbumCreate);
        return -1;
    }
    const std::string sql =
        SqlFormat(kMarkStatementSize, "Update photo_share set updated = '1' where sharename = '%s'",
                  name.literal.c_str());
    if (PhotoDBExec(sql.c_str()) < 0)
        syslog(LOG_ERR, "%s (%d) Failed to exec [%s].", kLogName, __LINE__, sql.c_str());
    return -1;
}

int PhotoShareResync(const char *path) {
    if (path != nullptr && PhotoShareLevelGet(path) != kAlbumTop)
        return 0;
    char target[kSharePathSize];
    if (!PhotoShareTargetGet(target))
        return -1;
    return path == nullptr ? ShareResync(target) : AlbumResync(path);
}
