// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/media.h"

#include <syslog.h>

#include "catalogue/util.h"
#include "container/metamedia.h"

namespace {

constexpr char kLogName[] = "media.c";

int PlainIndex(const char *path, int kind) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s:%d Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (MediaInfoFillBasic(path, &record) != 0)
        return -1;
    MediaInfoValid(&record);
    if (MediaInfoDBSave(kind, &record) != 0) {
        syslog(LOG_ERR, "%s:%d Failed to save media info to database.", kLogName, __LINE__);
        return -1;
    }
    return 0;
}

int ProbedIndex(const char *path, int kind) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (MediaInfoFillBasic(path, &record) != 0)
        return -1;
    int result = 0;
    if (MiscMediaInfoGet(path, &record) != 0) {
        if (kind == kMediaMusic)
            syslog(LOG_ERR, "%s:%d Failed to parse music metadata from file [%s].", kLogName, __LINE__, path);
        else
            syslog(LOG_ERR, "%s (%d) Failed to parse media metadata from file [%s].", kLogName, __LINE__,
                   path);
        result = 1;
    }
    MediaInfoValid(&record);
    if (MediaInfoDBSave(kind, &record) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", kLogName, __LINE__);
        return result == 0 ? -1 : result;
    }
    return result;
}

} // namespace

int ProbedAudioIndex(const char *path) {
    return ProbedIndex(path, kMediaMusic);
}

int PlainAudioIndex(const char *path) {
    return PlainIndex(path, kMediaMusic);
}

int ProbedVideoIndex(const char *path) {
    return ProbedIndex(path, kMediaVideo);
}

int PlainVideoIndex(const char *path) {
    return PlainIndex(path, kMediaVideo);
}

int AudioRemove(const char *path) {
    return MediaFileRemove(kMediaMusic, path, kLogName);
}

int VideoRemove(const char *path) {
    return MediaFileRemove(kMediaVideo, path, kLogName);
}
