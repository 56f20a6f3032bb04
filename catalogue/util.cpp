// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/util.h"

#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <string_view>

#include "platform/path.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "util.c";

// Returns the place behind the last "/" but one, or null when there are not two.
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
    const std::string_view name = NameWithoutExtension(path);
    const size_t length = std::min(name.size(), sizeof title - 1);
    memcpy(title, name.data(), length);
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

void MediaAlbumFill(const char *log_name, const char *path, MediaInfo *record) {
    if (!MediaAlbumFromPath(path, record->album))
        syslog(LOG_ERR, "%s (%d) Impossible error.", log_name, __LINE__);
}

void MediaDefaultsFill(const char *log_name, const char *path, MediaInfo *record) {
    if (record->title[0] == '\0') {
        MediaTitleFromName(path, record->title);
        record->title_utf16 = 0;
    }
    if (record->album[0] == '\0') {
        record->album_utf16 = 0;
        MediaAlbumFill(log_name, path, record);
    }
}

uint32_t MediaCountFrom(double value) {
    if (!(value > 0))
        return 0;
    return value < UINT32_MAX ? static_cast<uint32_t>(value) : UINT32_MAX;
}
