// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/flac.h"

#include <stdio.h>
#include <syslog.h>

#include "catalogue/util.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "flac.c";

// The reader is not part of this build: every file counts as one whose metadata cannot be read.
int FlacMetadataRead(const char *, MediaInfo *) {
    return -1;
}

} // namespace

int FlacFileIndex(const char *path) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (!IsFileExist(path, &record.file_size))
        return -1;
    snprintf(record.path, sizeof record.path, "%s", path);
    MediaTitleFromName(path, record.title);
    if (!MediaAlbumFromPath(path, record.album))
        syslog(LOG_ERR, "%s (%d) Impossible error.", kLogName, __LINE__);
    int result = 0;
    if (FlacMetadataRead(path, &record) < 0) {
        syslog(LOG_ERR, "%s (%d) Failed to parse music metadata.", kLogName, __LINE__);
        result = 1;
    }
    VELUIndexCTimeMTimeGet(path, record.create_time, sizeof record.create_time, record.modify_time,
                           sizeof record.modify_time);
    // A save that fails is logged and leaves the result as it is.
    if (MediaInfoDBSave(kMediaMusic, &record) != 0)
        syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", kLogName, __LINE__);
    return result;
}
