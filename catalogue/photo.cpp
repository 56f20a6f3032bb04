// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/photo.h"

#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>

#include "catalogue/exif.h"
#include "catalogue/util.h"
#include "daemon/path_rules.h"
#include "photo/photo_record.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "photo.c";

// The media catalogue writes dates with dashes and without zeros in front; programs that read it know them
// so.
void DateStore(const char *taken, char (&date)[kMediaTimeSize]) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (sscanf(taken, "%d-%d-%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second) == 6)
        snprintf(date, sizeof date, "%s", taken);
    else if (sscanf(taken, "%d:%d:%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second) == 6)
        snprintf(date, sizeof date, "%d-%d-%d %d:%d:%d", year, month, day, hour, minute, second);
}

void ExifStore(MediaInfo *record) {
    PhotoRecord photo = {};
    static_assert(sizeof photo.path == sizeof record->path &&
                  sizeof photo.make == sizeof record->camera_make &&
                  sizeof photo.exposure == sizeof record->exposure_time);
    memcpy(photo.path, record->path, sizeof photo.path);
    ExifInfoGet(&photo);
    PhotoRecordSanitize(&photo);
    memcpy(record->camera_make, photo.make, sizeof photo.make);
    memcpy(record->camera_model, photo.model, sizeof photo.model);
    memcpy(record->exposure_time, photo.exposure, sizeof photo.exposure);
    memcpy(record->f_number, photo.fnumber, sizeof photo.fnumber);
    DateStore(photo.date_taken, record->date_taken);
    record->width = static_cast<uint32_t>(photo.width);
    record->height = static_cast<uint32_t>(photo.height);
    record->iso_speed = static_cast<uint32_t>(std::max(photo.iso, 0));
}

} // namespace

int PhotoFileIndex(const char *path) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (!IsFileExist(path, &record.file_size))
        return -1;
    if (IsAttributePath(path))
        return 0;
    snprintf(record.path, sizeof record.path, "%s", path);
    MediaTitleFromName(path, record.title);
    if (!MediaAlbumFromPath(path, record.album))
        syslog(LOG_ERR, "%s (%d) Impossible error.", kLogName, __LINE__);

    if (const char *dot = strrchr(path, '.'); dot != nullptr) {
        VELUIndexCTimeMTimeGet(path, record.create_time, sizeof record.create_time, record.modify_time,
                               sizeof record.modify_time);
        if (BlVELUIndexIsJpeg(dot + 1))
            ExifStore(&record);
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
