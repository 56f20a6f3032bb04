// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/photo.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "catalogue/exif.h"
#include "catalogue/media_info.h"
#include "photo/photo_record.h"

namespace {

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

int PhotoRead(const char *path, MediaInfo *record) {
    const char *dot = strrchr(path, '.');
    if (dot == nullptr)
        return 0;
    VELUIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                           sizeof record->modify_time);
    if (BlVELUIndexIsJpeg(dot + 1))
        ExifStore(record);
    int width = 0;
    int height = 0;
    if (VELUIndexImgResGet(path, &width, &height) == 0) {
        record->width = static_cast<uint32_t>(width);
        record->height = static_cast<uint32_t>(height);
    }
    return 0;
}
