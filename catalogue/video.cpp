// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/video.h"

#include <syslog.h>

#include "catalogue/util.h"
#include "container/metavideo.h"

namespace {
constexpr char kLogName[] = "video.c";
}

int VcdFileIndex(const char *path) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (MediaInfoFillBasic(path, &record) != 0)
        return -1;
    int result = 0;
    if (MpegVideoInfoGet(path, &record) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to parse dat metadata.", kLogName, __LINE__);
        result = 1;
    }
    MediaInfoValid(&record);
    if (MediaInfoDBSave(kMediaVideo, &record) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", kLogName, __LINE__);
        return result == 0 ? -1 : result;
    }
    return result;
}

int VcdFileRemove(const char *path) {
    return MediaFileRemove(kMediaVideo, path, kLogName);
}
