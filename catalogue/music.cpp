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
    MediaRecordFinish(path, &record, kLogName);

    if (MediaInfoDBSave(kMediaMusic, &record) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", kLogName, __LINE__);
        return result == 0 ? -1 : result;
    }
    return result;
}

int MusicFileRemove(const char *path) {
    return MediaFileRemove(kMediaMusic, path, kLogName);
}
