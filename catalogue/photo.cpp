// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/photo.h"

#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include "catalogue/shares.h"
#include "catalogue/util.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "photo.c";

} // namespace

int PhotoFileIndex(const char *path) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (!IsFileExist(path, &record.file_size))
        return -1;
    if (strstr(path, kAttributeDirectory) != nullptr)
        return 0;
    snprintf(record.path, sizeof record.path, "%s", path);
    MediaTitleFromName(path, record.title);
    if (!MediaAlbumFromPath(path, record.album))
        syslog(LOG_ERR, "%s (%d) Impossible error.", kLogName, __LINE__);

    if (VELUIndexExtGet(path) != nullptr) {
        VELUIndexCTimeMTimeGet(path, record.create_time, sizeof record.create_time, record.modify_time,
                               sizeof record.modify_time);
        int width = 0;
        int height = 0;
        if (VELUIndexImgResGet(path, &width, &height) == 0) {
            record.width = static_cast<uint32_t>(width);
            record.height = static_cast<uint32_t>(height);
        }
    }
    if (MediaInfoDBSave(kMediaPhoto, &record) != 0) {
        // The wording is the playlist indexer's; log filters on the appliance know it.
        syslog(LOG_ERR, "%s (%d) Failed to save playlist info.", kLogName, __LINE__);
        return -1;
    }
    return 0;
}

int PhotoFileRemove(const char *path) {
    return MediaFileRemove(kMediaPhoto, path, kLogName);
}
