// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/aiff.h"

#include <stdio.h>
#include <syslog.h>

#include "catalogue/util.h"
#include "platform/velusdk.h"

namespace {
constexpr char kLogName[] = "aiff.c";
}

int AiffInfoGet(const char *path, MediaInfo *record) {
    if (path == nullptr || *path == '\0' || record == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    *record = MediaInfo{};
    snprintf(record->path, sizeof record->path, "%s", path);
    record->file_size = size;
    VELUIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                           sizeof record->modify_time);
    MediaInfoValid(record);
    if (record->title[0] == '\0')
        MediaTitleFromName(path, record->title);
    if (record->album[0] == '\0' && !MediaAlbumFromPath(path, record->album))
        syslog(LOG_ERR, "%s (%d) Impossible error.", kLogName, __LINE__);
    return 0;
}

int AiffIndexAdd(const char *path) {
    MediaInfo record;
    if (AiffInfoGet(path, &record) < 0)
        return -1;
    if (MediaInfoDBSave(kMediaMusic, &record) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", kLogName, __LINE__);
        return -1;
    }
    return 0;
}

int AiffIndexDelete(const char *path) {
    return MediaFileRemove(kMediaMusic, path, kLogName);
}
