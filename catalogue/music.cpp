// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/music.h"

#include <stdio.h>
#include <syslog.h>

#include "audio/metaid3.h"
#include "catalogue/util.h"
#include "platform/velusdk.h"

namespace {
constexpr char kLogName[] = "music.c";
}

int MusicFileIndex(const char *path) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (!IsFileExist(path, &record.file_size))
        return -1;
    snprintf(record.path, sizeof record.path, "%s", path);
    MediaTitleFromName(path, record.title);

    int result = 0;
    if (Mp3InfoGet(path, &record) < 0) {
        syslog(LOG_ERR, "%s (%d) Failed to parse music metadata.", kLogName, __LINE__);
        result = 1;
    }
    VELUIndexCTimeMTimeGet(path, record.create_time, sizeof record.create_time, record.modify_time,
                           sizeof record.modify_time);
    MediaInfoValid(&record);

    // The defaults come after the normalisation: they are saved as the file system has them.
    // They are single bytes whatever the tag's empty field was said to be.
    if (record.title[0] == '\0') {
        MediaTitleFromName(path, record.title);
        record.title_utf16 = 0;
    }
    if (record.album[0] == '\0') {
        record.album_utf16 = 0;
        if (!MediaAlbumFromPath(path, record.album))
            syslog(LOG_ERR, "%s (%d) Impossible error.", kLogName, __LINE__);
    }

    if (MediaInfoDBSave(kMediaMusic, &record) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", kLogName, __LINE__);
        return result == 0 ? -1 : result;
    }
    return result;
}

int MusicFileRemove(const char *path) {
    return MediaFileRemove(kMediaMusic, path, kLogName);
}
