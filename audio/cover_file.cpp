// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/cover_file.h"

#include "platform/media_record.h"
#include "platform/veluindex.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace {

// Covers are for every program of the appliance, whatever user it runs as.
constexpr mode_t kCoverMode = 0777;

constexpr mode_t kCreateMode = 0666;

} // namespace

void CoversClean(const char *media_path) {
    char folder[kMediaPathSize];
    if (GetCoverFolder(media_path, folder, sizeof folder) != 0)
        CleanOldCover(folder);
}

bool CoverFileCreate(CoverFile *cover) {
    // The caller has removed an older file, so that anything in the place now (a link, say) was not put there
    // by the daemon.
    cover->file = FdHandle(open(cover->cover_path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kCreateMode));
    if (!cover->file) {
        syslog(LOG_ERR, "%s (%d) FAILED TO OPEN %s, reason=%s", cover->log_name, __LINE__, cover->cover_path,
               strerror(errno));
        return false;
    }
    return true;
}

bool CoverFileWrite(CoverFile *cover, std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(cover->file.get(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            syslog(LOG_ERR, "%s (%d) FAILED TO WRITE PIC FILE, reason=%s", cover->log_name, __LINE__,
                   strerror(errno));
            return false;
        }
        bytes = bytes.subspan(static_cast<size_t>(count));
    }
    return true;
}

bool CoverFileFinish(CoverFile *cover) {
    struct stat media;
    if (stat(cover->media_path, &media) != 0) {
        syslog(LOG_ERR, "%s (%d) FAILED TO stat %s, reason: %s", cover->log_name, __LINE__, cover->media_path,
               strerror(errno));
        return false;
    }
    if (fchmod(cover->file.get(), kCoverMode) != 0) {
        syslog(LOG_ERR, "%s (%d) FAILED TO chmod %s, reason: %s", cover->log_name, __LINE__,
               cover->cover_path, strerror(errno));
        return false;
    }
    if (fchown(cover->file.get(), media.st_uid, media.st_gid) != 0) {
        syslog(LOG_ERR, "FAILED TO chown %s to uid=%d, gid=%d, reason: %s", cover->cover_path,
               static_cast<int>(media.st_uid), static_cast<int>(media.st_gid), strerror(errno));
        return false;
    }
    cover->file.Close();
    return true;
}

void CoverFileDiscard(CoverFile *cover) {
    cover->file.Close();
    unlink(cover->cover_path);
    CoversClean(cover->media_path);
}
