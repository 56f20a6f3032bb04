// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_ea.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "photo/hand_over_file.h"
#include "photo/hand_over_spool.h"
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

HandOver TextTake(const char *path, const char *attribute, char (&field)[kPhotoTextSize]) {
    char text[kPhotoTextSize] = "";
    const HandOver found = HandOverTake(path, attribute, text, sizeof text);
    if (found == HandOver::text)
        memcpy(field, text, sizeof field);
    return found;
}

bool HasText(const char *value) {
    return *value != '\0' && *value != '\n';
}

HandOver BadParameters(int line) {
    syslog(LOG_ERR, "%s:%d Bad parameters.", kLogName, line);
    return HandOver::failed;
}

HandOver FileTake(const char *path, const char *attribute, char *buffer, int size) {
    char file[kAttributePathSize] = "";
    if (VELUEAPath(path, attribute, file, sizeof file) != 0) {
        syslog(LOG_ERR, "%s:%d VELUEAPath() failed.", kLogName, __LINE__);
        return HandOver::failed;
    }
    if (!BlKLIBFileExist(file))
        return HandOver::absent;
    FileHandle stream = AttributeOpen(file);
    if (stream == nullptr) {
        syslog(LOG_ERR, "%s:%d failed to open file %s.", kLogName, __LINE__, file);
        return HandOver::failed;
    }
    // The stream stays open when this returns, on purpose, and the next one takes its place, so that any
    // number of attributes costs one descriptor.
    static FileHandle last;
    last = std::move(stream);
    *buffer = '\0';
    if (fgets(buffer, size, last.get()) == nullptr && ferror(last.get())) {
        syslog(LOG_ERR, "%s:%d fgets() failed.", kLogName, __LINE__);
        return HandOver::failed;
    }
    if (HandOverSpoolAdd(path, attribute, buffer))
        unlink(file);
    else
        syslog(LOG_ERR, "%s:%d failed to write %s. (%s) %s is left for the next time.", kLogName, __LINE__,
               kHandOverSpool, strerror(errno), file);
    return HasText(buffer) ? HandOver::text : HandOver::empty;
}

// The place of a picture's attribute file; empty: it has none.
std::string AttributePath(const char *path, const char *attribute) {
    char file[kAttributePathSize] = "";
    return VELUEAPath(path, attribute, file, sizeof file) == 0 ? file : "";
}

std::string Above(const std::string &path) {
    return path.substr(0, path.rfind('/'));
}

} // namespace

bool PhotoTextsWait(const char *path) {
    const std::string title = AttributePath(path, kTitleAttribute);
    return IsDirExist(Above(title).c_str()) &&
           (BlKLIBFileExist(title.c_str()) || BlKLIBFileExist(AttributePath(path, kDescAttribute).c_str()));
}

bool PhotoTextsMayBeIn(const char *directory) {
    const std::string of_any = AttributePath((std::string(directory) + "/any").c_str(), kTitleAttribute);
    return IsDirExist(Above(Above(of_any)).c_str());
}

HandOver HandOverTake(const char *path, const char *attribute, char *buffer, int size) {
    if (path == nullptr || attribute == nullptr || buffer == nullptr || size < 1)
        return BadParameters(__LINE__);
    const HandOver fresh = FileTake(path, attribute, buffer, size);
    const std::string *spooled = IsHandedOver(fresh) ? nullptr : HandOverSpoolFind(path, attribute);
    if (spooled == nullptr)
        return fresh;
    snprintf(buffer, static_cast<size_t>(size), "%s", spooled->c_str());
    return HasText(buffer) ? HandOver::text : HandOver::empty;
}

int PhotoEaRead(const char *path, const char *attribute, char *buffer, int size) {
    return HandOverTake(path, attribute, buffer, size) == HandOver::text ? 0 : -1;
}

HandOver PhotoTitleTake(const char *path, PhotoRecord *record) {
    if (path == nullptr || record == nullptr)
        return BadParameters(__LINE__);
    return TextTake(path, kTitleAttribute, record->title);
}

HandOver PhotoDescTake(const char *path, PhotoRecord *record) {
    if (path == nullptr || record == nullptr)
        return BadParameters(__LINE__);
    return TextTake(path, kDescAttribute, record->description);
}

int PhotoTitleGet(const char *path, PhotoRecord *record) {
    return PhotoTitleTake(path, record) == HandOver::text;
}

int PhotoDescGet(const char *path, PhotoRecord *record) {
    return PhotoDescTake(path, record) == HandOver::text;
}
