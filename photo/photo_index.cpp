// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_index.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>

#include "catalogue/exif.h"
#include "catalogue/features.h"
#include "catalogue/picture_columns.h"
#include "catalogue/util.h"
#include "daemon/path_rules.h"
#include "photo/flv_converter.h"
#include "photo/photo_ea.h"
#include "photo/photo_queue.h"
#include "photo/photo_record.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

static_assert(kPhotoTextSize == kMediaTextSize, "title and album have one rule for both records");

void NamesStore(const char *path, PhotoRecord *record) {
    snprintf(record->path, sizeof record->path, "%s", path);
    snprintf(record->name, sizeof record->name, "%s", PathBaseName(path));
    MediaTitleFromName(path, record->title);
    if (!MediaAlbumFromPath(path, record->album))
        syslog(LOG_ERR, "%s (%d) Impossible error.", kLogName, __LINE__);
}

// Returns which texts were handed over, a bit of PhotoTexts for each.
unsigned TextsTake(const char *path, PhotoRecord *record) {
    unsigned handed_over = 0;
    if (IsHandedOver(PhotoTitleTake(path, record)))
        handed_over |= kPhotoTitle;
    if (IsHandedOver(PhotoDescTake(path, record)))
        handed_over |= kPhotoDescription;
    return handed_over;
}

void DateFromTimes(time_t changed, PhotoRecord *record) {
    struct tm local;
    if (localtime_r(&changed, &local) != nullptr)
        strftime(record->date_taken, sizeof record->date_taken, "%F %T", &local);
}

// What comes of a file: a row, none, or none at this moment.
enum class Met { stored, left_out, unreadable };

Met MetWithout() {
    const bool gone = errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG;
    return gone ? Met::left_out : Met::unreadable;
}

// Puts the size of the picture itself in the place of that in its EXIF data, and takes out what cameras write by mistake.
void HeaderStore(const char *path, PhotoRecord *record) {
    int width = 0;
    int height = 0;
    if (VELUIndexImgResGet(path, &width, &height) == 0) {
        record->width = width;
        record->height = height;
    }
    PhotoRecordSanitize(record);
}

Met FileStore(const char *path, PhotoRecord *record) {
    struct stat status;
    if (stat(path, &status) != 0)
        return MetWithout();
    if (!S_ISREG(status.st_mode) || !IsLibrarySize(status.st_size))
        return Met::left_out;
    record->file_size = status.st_size;
    const bool by_reader = RuleSetActive() == RuleSet::complete; // which has seen all of it
    if (by_reader && !PictureColumnsGet(record))
        return Met::unreadable;
    if (!by_reader)
        ExifInfoGet(record);
    if (stat(path, &status) != 0)
        return MetWithout();
    PhotoTimeText(status.st_ctime, record->create_time, sizeof record->create_time);
    if (!by_reader)
        HeaderStore(path, record);
    if (record->date_taken[0] == '\0')
        DateFromTimes(status.st_ctime, record);
    return Met::stored;
}

int BadParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

// A film's row is made by a resynchronisation; by the complete rules it is there as soon as the film is.
void FilmAdd(const char *path) {
    if (RuleSetActive() == RuleSet::complete)
        VELUIndexPhotoUpdateVideoStatus(path);
}

void PictureSave(const char *path, int mode, bool *missed) {
    if (PhotoIndexAdd(path, mode) != 0 && missed != nullptr)
        *missed = true;
}

} // namespace

int PhotoIndexAdd(const char *path, int mode) {
    if (path == nullptr)
        return BadParameter(__LINE__);
    if (!IsLibraryPath(path))
        return -1;
    PhotoRecord record = {};
    NamesStore(path, &record);
    const Met met = FileStore(path, &record);
    if (met == Met::unreadable) // what was handed over to it waits for it
        return -1;
    const unsigned handed_over = TextsTake(path, &record);
    if (met == Met::left_out)
        return -1;
    if (PhotoInfoDBSaveHandedOver(&record, mode, handed_over) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to save photo info.", kLogName, __LINE__);
        return -1;
    }
    return 0;
}

int PhotoIndexDelete(const char *path) {
    if (path == nullptr)
        return BadParameter(__LINE__);
    if (IsFileExist(path, nullptr)) {
        syslog(LOG_ERR, "%s (%d) File exists. Skip remove it from database.", kLogName, __LINE__);
        return -1;
    }
    if (IsAttributePath(path))
        return -1;
    // Films have rows as well, which the appliance's rules leave to the next resynchronisation.
    const bool films_too = RuleSetActive() == RuleSet::complete;
    if ((films_too ? PhotoInfoDBDirDelete(path) : PhotoInfoDBDelete(path)) != 0)
        syslog(LOG_ERR, "%s (%d) Failed to remove %s from database.", kLogName, __LINE__, path);
    return 0;
}

void PhotoTimeText(time_t time, char *text, size_t size) {
    const char *written = ctime(&time);
    snprintf(text, size, "%s", written != nullptr ? written : "");
}

bool IsInPhotoLibrary(const char *path) {
    return supportphoto != 0 && IsPhotoPath(path) != 0;
}

bool IsLibraryPicture(const char *path, int64_t size) {
    return IsInPhotoLibrary(path) && HasPictureExtension(path) && IsLibraryPath(path) && IsLibrarySize(size);
}

PhotoFileKind PhotoFileKindOf(const char *path) {
    const char *dot = strrchr(path, '.');
    if (dot == nullptr)
        return PhotoFileKind::none;
    const char *extension = dot + 1;
    if (IsPictureExtension(extension))
        return PhotoFileKind::picture;
    if (BlVELUIndexIsVideoOnWeb(extension))
        return PhotoFileKind::web_video;
    return BlVELUIndexIsVideo(extension) ? PhotoFileKind::video : PhotoFileKind::none;
}

bool HasFilmExtension(const char *path) {
    const PhotoFileKind kind = PhotoFileKindOf(path);
    return kind == PhotoFileKind::video || kind == PhotoFileKind::web_video;
}

int PhotoLibraryFileUpdate(const char *path, int mode, bool *missed) {
    if (path == nullptr)
        return BadParameter(__LINE__);
    if (mode != kIndexAdd && mode != kIndexRemove && mode != kIndexUpdate)
        return BadParameter(__LINE__);
    const PhotoFileKind kind = PhotoFileKindOf(path);
    if (kind == PhotoFileKind::none || IsDirExist(path))
        return -1;
    if (kind == PhotoFileKind::video)
        FlvConverterRun(path);
    switch (mode) {
    case kIndexRemove:
        PhotoIndexDelete(path);
        break;
    case kIndexAdd:
        if (kind == PhotoFileKind::picture)
            PictureSave(path, mode, missed);
        else
            FilmAdd(path);
        PhotoConvertQueueAdd(path, kConvertThumbnail | kConvertFlv);
        break;
    case kIndexUpdate:
        if (kind == PhotoFileKind::picture)
            PictureSave(path, mode, missed);
        else
            VELUIndexPhotoUpdateVideoStatus(path);
        break;
    default:
        syslog(LOG_ERR, "%s (%d) Bad mode!! This should never happen.", kLogName, __LINE__);
        break;
    }
    return 0;
}
