// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/util.h"

#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "util.c";

// The place after the "/" that precedes the last one, or null when there are not two.
const char *ContainingDirectory(const char *path) {
    const char *last = strrchr(path, '/');
    if (last == nullptr)
        return nullptr;
    const void *previous = memrchr(path, '/', static_cast<size_t>(last - path));
    return previous == nullptr ? nullptr : static_cast<const char *>(previous) + 1;
}

} // namespace

const char *PathBaseName(const char *path) {
    const char *slash = strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

void MediaTitleFromName(const char *path, char (&title)[kMediaTextSize]) {
    const char *name = PathBaseName(path);
    const char *dot = strrchr(name, '.');
    size_t length = dot == nullptr ? strlen(name) : static_cast<size_t>(dot - name);
    if (length > sizeof title - 1)
        length = sizeof title - 1;
    memcpy(title, name, length);
    title[length] = '\0';
}

bool MediaAlbumFromPath(const char *path, char (&album)[kMediaTextSize]) {
    const char *directory = ContainingDirectory(path);
    if (directory == nullptr)
        return true;
    snprintf(album, sizeof album, "%s", directory);
    char *slash = strrchr(album, '/');
    if (slash == nullptr)
        return false;
    *slash = '\0';
    return true;
}

int MediaInfoFillBasic(const char *path, MediaInfo *record) {
    if (path == nullptr || *path == '\0' || record == nullptr) {
        syslog(LOG_ERR, "%s:%d Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    snprintf(record->path, sizeof record->path, "%s", path);
    record->file_size = size;

    // Unlike MediaTitleFromName this cuts to the field first, so the last dot is looked for in what fitted.
    snprintf(record->title, sizeof record->title, "%s", PathBaseName(path));
    if (char *dot = strrchr(record->title, '.'); dot != nullptr)
        *dot = '\0';
    if (!MediaAlbumFromPath(path, record->album))
        syslog(LOG_ERR, "%s:%d Impossible error.", kLogName, __LINE__);

    VELUIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                           sizeof record->modify_time);
    return 0;
}

uint32_t MediaCountFrom(double value) {
    if (!(value > 0))
        return 0;
    return value < UINT32_MAX ? static_cast<uint32_t>(value) : UINT32_MAX;
}

void MediaRecordFinish(const char *path, MediaInfo *record, const char *log_name, int line) {
    VELUIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                           sizeof record->modify_time);
    MediaInfoValid(record);

    // The defaults come after the normalisation: they are saved as the file system has them, and they are single
    // bytes whatever the tag's empty field was said to be.
    if (record->title[0] == '\0') {
        MediaTitleFromName(path, record->title);
        record->title_utf16 = 0;
    }
    if (record->album[0] == '\0') {
        record->album_utf16 = 0;
        if (!MediaAlbumFromPath(path, record->album))
            syslog(LOG_ERR, "%s (%d) Impossible error.", log_name, line);
    }
}

int MediaFileRemove(int kind, const char *path, const char *log_name, int line) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", log_name, line);
        return -1;
    }
    if (IsFileExist(path, nullptr)) {
        syslog(LOG_ERR, "%s (%d) File exists. Skip remove it from database.", log_name, line);
        return -1;
    }
    if (MediaInfoDBDelete(kind, path) != 0) {
        if (kind == kMediaPhoto || kind == kMediaPlaylist)
            syslog(LOG_ERR, "%s (%d) Failed to remove %s from database.", log_name, line, path);
        else
            syslog(LOG_ERR, "%s (%d) Failed to remove [%s] from database", log_name, line, path);
        return -1;
    }
    return 0;
}
