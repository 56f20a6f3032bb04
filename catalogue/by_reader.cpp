// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/by_reader.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <string>

#include "audio/cover_file.h"
#include "catalogue/fact_columns.h"
#include "catalogue/file_readers.h"
#include "catalogue/reader_cover.h"
#include "catalogue/util.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "by_reader.c";

// What the content is counts, not what the name says.
MediaKind KindOf(ContentClass content, MediaKind named) {
    switch (content) {
    case ContentClass::sound:
        return kMediaMusic;
    case ContentClass::film:
        return kMediaVideo;
    case ContentClass::picture:
        return kMediaPhoto;
    case ContentClass::unknown:
    case ContentClass::playlist:
        break;
    }
    return named;
}

// A path that leads to no file, as opposed to one that cannot be looked at.
bool IsNoFile(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG || error == EINVAL;
}

bool IsRead(const FileReport &found) {
    return found.error == 0 && found.read.end == ReadEnd::answered &&
           found.read.answer.status == AnswerStatus::read;
}

std::string ReasonOf(const FileReport &found) {
    if (found.error != 0)
        return strerror(found.error);
    if (found.read.end != ReadEnd::answered)
        return found.read.reason;
    const std::string &reason = found.read.answer.reason;
    return reason.empty() ? "its reader could not read it" : reason;
}

void NamesFill(const char *path, MediaInfo *record) {
    if (record->title[0] == '\0')
        MediaTitleFromName(path, record->title);
    if (record->album[0] == '\0' && !MediaAlbumFromPath(path, record->album))
        syslog(LOG_ERR, "%s (%d) Impossible error.", kLogName, __LINE__);
}

MediaInfo RecordOf(const FileReport &found, const char *path) {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", path);
    record.file_size = static_cast<uint64_t>(found.status.st_size);
    VELUIndexCTimeMTimeGet(path, record.create_time, sizeof record.create_time, record.modify_time,
                           sizeof record.modify_time);
    FactColumnsFill(found.read.answer, &record);
    NamesFill(path, &record);
    MediaInfoValid(&record);
    return record;
}

int RowSave(MediaKind kind, const FileReport &found, const char *path) {
    MediaInfo record = RecordOf(found, path);
    CoversClean(path);
    record.has_cover = ReaderCoverSave(found.read, path) ? 1 : 0;
    if (MediaInfoDBSave(kind, &record) == 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to save media info to database. [%s]", kLogName, __LINE__, path);
    return -1;
}

} // namespace

int ByReaderAdd(const ByReader &by, MediaKind named, const char *path) {
    const FileReport found = FileReadTake(path, by.first);
    if (IsNoFile(found.error))
        return -1;
    const int saved = RowSave(KindOf(found.read.answer.content, named), found, path);
    if (IsRead(found) || saved != 0)
        return saved;
    syslog(LOG_ERR, "%s (%d) %s cannot be read: %s.", kLogName, __LINE__, path, ReasonOf(found).c_str());
    return by.unread_fails ? kSavedUnread : 0;
}
