// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/read_row.h"

#include <stdio.h>

#include "catalogue/fact_columns.h"
#include "catalogue/photo_date.h"
#include "catalogue/util.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "by_reader.c";

MediaKind KindOfContent(ContentClass content, MediaKind named) {
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

MediaInfo RecordOf(const FileReport &report, const char *path, FromName *from_name) {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", path);
    record.file_size = static_cast<uint64_t>(report.status.st_size);
    VELUIndexTimeText(report.status.st_ctim.tv_sec, record.create_time, sizeof record.create_time);
    VELUIndexTimeText(report.status.st_mtim.tv_sec, record.modify_time, sizeof record.modify_time);
    FactColumnsFill(report.read.answer, &record);
    *from_name = {record.title[0] == '\0', record.album[0] == '\0'};
    MediaDefaultsFill(kLogName, path, &record);
    MediaInfoValid(&record);
    return record;
}

} // namespace

ReadRow ReadRowOf(const FileReport &report, MediaKind named, const char *path) {
    ReadRow row;
    row.kind = KindOfContent(report.read.answer.content, named);
    row.record = RecordOf(report, path, &row.from_name);
    if (row.kind == kMediaPhoto)
        row.date_source = PhotoDateFill(report.status.st_mtim.tv_sec, &row.record);
    row.facts = FactRowsOf(report.read.answer);
    FactRowsAdd(&row.facts, "date_source", row.date_source);
    FactRowsAdd(&row.facts, kCompanionFact, report.companions);
    if (row.kind == kMediaVideo) {
        FactRowsAdd(&row.facts, kSubtitleFact, report.subtitles);
        FactRowsAdd(&row.facts, kSubtitleLanguageFact, report.subtitle_languages);
    }
    return row;
}
