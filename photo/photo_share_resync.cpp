// SPDX-License-Identifier: GPL-2.0-or-later
//
// The albums' mark and sweep: every directory of the share marks its row, and rows without a mark go.
#include <errno.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/shares.h"
#include "daemon/storage_away.h"
#include "photo/album_path.h"
#include "photo/album_rows.h"
#include "photo/directory_names.h"
#include "photo/photo_known.h"
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

// What follows a scan of the whole share: every album without a mark goes.
struct AlbumSweep {
    std::vector<std::string> away; // places on storage that is
    bool possible = true;          // albums that are to be kept have their marks
};

// Keeps an album and those below it, of which a scan that is to be followed by a sweep can tell nothing. `path` is where
// the scan has met it.
void AlbumsKeep(AlbumSweep *sweep, const std::string &path, const std::string &album, const char *reason,
                int line = __builtin_LINE()) {
    if (sweep == nullptr)
        return;
    syslog(LOG_ERR, "%s (%d) The albums at and below %s are kept. (%s)", kLogName, line, path.c_str(),
           reason);
    sweep->possible = AlbumTreeMark(album.c_str()) == 0 && sweep->possible;
}

// Marks the album as found, or creates it. False when that is not sure to have been done, and it may have a row.
bool AlbumMark(const char *target, const char *album) {
    SqlName name;
    if (!SqlNameEscape(album, &name, kLogName))
        return false;
    const PhotoRows rows(PhotoInfoDBOpen(
        kPhotoTableShare, "*",
        SqlFormat(kMarkStatementSize, "sharename = '%s'", name.literal.c_str()).c_str(), nullptr, 0));
    if (rows == nullptr) {
        syslog(LOG_ERR, "%s (%d) Error occurred, failed to get records.", kLogName, __LINE__);
        return false;
    }
    if (VELUDBRowCount(VELUIndexRowsResult(rows.get())) == 0) {
        PhotoShareUpdate((std::string(target) + '/' + album).c_str(), kAlbumCreate);
        return true;
    }
    const std::string sql =
        SqlFormat(kMarkStatementSize, "Update photo_share set updated = '1' where sharename = '%s'",
                  name.literal.c_str());
    if (PhotoDBExec(sql.c_str()) >= 0)
        return true;
    syslog(LOG_ERR, "%s (%d) Failed to exec [%s].", kLogName, __LINE__, sql.c_str());
    return false;
}

// Marks the albums of the directories in one, whose names begin with `prefix`, and has `each` go on from there. Those that
// may be some are kept. False when the directory could not be read to its end.
template <typename Each>
bool AlbumsMark(const std::string &target, const std::string &path, const std::string &prefix,
                AlbumSweep *sweep, Each each) {
    std::vector<std::string> names;
    std::vector<std::string> unseen;
    if (!SubDirectoriesGet(path.c_str(), ActiveWalkRules().albums, &names, &unseen)) {
        const int error = errno;
        syslog(LOG_ERR, "%s (%d) Failed to open directory %s", kLogName, __LINE__, path.c_str());
        errno = error;
        return false;
    }
    for (const std::string &name : unseen)
        AlbumsKeep(sweep, path + '/' + name, prefix + name, "it could not be looked at");
    for (const std::string &name : names) {
        if (BlVELUIndexRunGivesUp()) {
            if (sweep != nullptr)
                sweep->possible = false; // it would not know what is there
            break;
        }
        if (!AlbumMark(target.c_str(), (prefix + name).c_str()))
            AlbumsKeep(sweep, path + '/' + name, prefix + name, "it could not be marked");
        if (sweep == nullptr || std::ranges::find(sweep->away, path + '/' + name) == sweep->away.end())
            each(path + '/' + name);
    }
    return true;
}

int AlbumResync(const std::string &target, const std::string &path, const std::string &album,
                AlbumSweep *sweep) {
    if (AlbumsMark(target, path, album + '/', sweep, [](const std::string &) {}))
        return 0;
    AlbumsKeep(sweep, path, album, strerror(errno));
    return -1;
}

int ShareResync(const std::string &target) {
    AlbumSweep sweep = {.away = ShareAwayIn(target, PhotoKnows)};
    if (sweep.away == std::vector<std::string>{target}) {
        syslog(LOG_ERR, "%s (%d) The storage of %s is away: its albums are kept.", kLogName, __LINE__,
               target.c_str());
        return -1;
    }
    const uint64_t losses = VELUIndexRunLosses(Catalogue::photo);
    if (PhotoShareMarkAll(nullptr) != 0)
        return -1;
    const bool read = AlbumsMark(target, target, {}, &sweep, [&](const std::string &path) {
        AlbumResync(target, path, AlbumNameOf(path.c_str()), &sweep);
    });
    if (!read) {
        syslog(LOG_ERR, "%s (%d) The albums below %s are kept. (%s)", kLogName, __LINE__, target.c_str(),
               strerror(errno));
        return -1;
    }
    for (const std::string &place : sweep.away)
        AlbumsKeep(&sweep, place, place.substr(target.size() + 1), "their storage is away");
    VELUIndexRunFlush();
    if (!sweep.possible || VELUIndexRunLosses(Catalogue::photo) != losses) {
        syslog(LOG_ERR, "%s (%d) The albums below %s are kept. (the catalogue failed in between)", kLogName,
               __LINE__, target.c_str());
        return -1;
    }
    return PhotoShareSweep(nullptr);
}

} // namespace

int PhotoShareMarkOne(const char *sharename) {
    char target[kSharePathSize];
    if (PhotoShareTargetGet(target))
        static_cast<void>(AlbumMark(target, sharename));
    return -1;
}

int PhotoShareResync(const char *path) {
    if (path != nullptr && PhotoShareLevelGet(path) != kAlbumTop)
        return 0;
    char target[kSharePathSize];
    if (!PhotoShareTargetGet(target))
        return -1;
    return path == nullptr ? ShareResync(target) : AlbumResync(target, path, AlbumNameOf(path), nullptr);
}
