// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_ea.h"

#include <stdio.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr char kTitleAttribute[] = "VELUPHOTO:TITLE";
constexpr char kDescAttribute[] = "VELUPHOTO:DESC";

constexpr size_t kAttributePathSize = 4095;

FileHandle AttributeOpen(const char *path) {
    FdHandle file = OpenForReading(path);
    FileHandle stream(file ? fdopen(file.get(), "rb") : nullptr);
    if (stream != nullptr)
        static_cast<void>(file.Release());
    return stream;
}

int TextTake(const char *path, const char *attribute, char (&field)[kPhotoTextSize]) {
    char text[kPhotoTextSize] = "";
    if (PhotoEaRead(path, attribute, text, sizeof text) != 0)
        return 0;
    memcpy(field, text, sizeof field);
    return 1;
}

int BadParameters(int line) {
    syslog(LOG_ERR, "%s:%d Bad parameters.", kLogName, line);
    return 0;
}

} // namespace

int PhotoEaRead(const char *path, const char *attribute, char *buffer, int size) {
    if (path == nullptr || attribute == nullptr || buffer == nullptr || size < 1) {
        syslog(LOG_ERR, "%s:%d Bad parameters.", kLogName, __LINE__);
        return -1;
    }
    char file[kAttributePathSize] = "";
    if (VELUEAPath(path, attribute, file, sizeof file) != 0) {
        syslog(LOG_ERR, "%s:%d VELUEAPath() failed.", kLogName, __LINE__);
        return -1;
    }
    if (!BlKLIBFileExist(file))
        return -1;
    FileHandle stream = AttributeOpen(file);
    if (stream == nullptr) {
        syslog(LOG_ERR, "%s:%d failed to open file %s.", kLogName, __LINE__, file);
        return -1;
    }
    // The stream stays open when this returns, on purpose, and the next one takes its place, so that any
    // number of attributes costs one descriptor.
    static FileHandle last;
    last = std::move(stream);
    *buffer = '\0';
    if (fgets(buffer, size, last.get()) == nullptr && ferror(last.get())) {
        syslog(LOG_ERR, "%s:%d fgets() failed.", kLogName, __LINE__);
        return -1;
    }
    unlink(file);
    return *buffer == '\0' || *buffer == '\n' ? -1 : 0;
}

int PhotoTitleGet(const char *path, PhotoRecord *record) {
    if (path == nullptr || record == nullptr)
        return BadParameters(__LINE__);
    return TextTake(path, kTitleAttribute, record->title);
}

int PhotoDescGet(const char *path, PhotoRecord *record) {
    if (path == nullptr || record == nullptr)
        return BadParameters(__LINE__);
    return TextTake(path, kDescAttribute, record->description);
}
