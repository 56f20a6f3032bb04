// SPDX-License-Identifier: GPL-2.0-or-later
//
// The columns of a media row, each with where its value comes from.
#include "platform/index/media_row.h"

#include <math.h>
#include <string.h>

#include <algorithm>

#include "platform/index/text.h"

namespace {

struct Column {
    const char *name;
    VELUDBValue (*value)(const MediaInfo &record, std::vector<std::string> *texts);
};

// The text lives in `texts`, which has room for one of each column and so never moves.
VELUDBValue Keep(std::vector<std::string> *texts, std::string text) {
    texts->push_back(std::move(text));
    return VELUDBValue::Text(texts->back().data(), texts->back().size());
}

#define TEXT(field)                                                                                          \
    {                                                                                                        \
#field,                                                                                              \
            [](const MediaInfo &record,                                                                      \
               std::vector <std::string>                                                                     \
                   *texts) { return Keep(texts, CatalogueText(record.field, sizeof record.field, false)); }  \
    }
#define TAG(field)                                                                                                \
    {                                                                                                             \
#field, [](const MediaInfo &record, std::vector<std::string> *texts) {                                          \
         return Keep(texts, CatalogueText(record.field, sizeof record.field, record.field##_utf16 != 0));            \
     } \
    }
// No count of a media file is negative.
#define NUMBER(field)                                                                                        \
    {                                                                                                        \
#field, [](const MediaInfo &record,                                                                  \
                   std::vector <std::string>                                                                 \
                       *) { return VELUDBValue::Integer(std::max<int64_t>(record.field, 0)); }               \
    }

constexpr Column kColumns[] = {
    {"path",
     [](const MediaInfo &record, std::vector<std::string> *) {
         return VELUDBValue::Text(record.path, strnlen(record.path, sizeof record.path));
     }},
    TAG(title),
    TAG(album),
    TAG(artist),
    TAG(genre),
    TAG(composer),
    TAG(comment),
    NUMBER(track),
    NUMBER(disc),
    NUMBER(year),
    {"duration",
     [](const MediaInfo &record, std::vector<std::string> *) {
         const bool sound = isfinite(record.duration) && record.duration > 0;
         return VELUDBValue::Real(sound ? double{record.duration} : 0.0);
     }},
    NUMBER(audio_bitrate),
    NUMBER(video_bitrate),
    NUMBER(sample_rate),
    NUMBER(channels),
    NUMBER(width),
    NUMBER(height),
    {"file_size",
     [](const MediaInfo &record, std::vector<std::string> *) {
         return VELUDBValue::Integer(static_cast<int64_t>(std::min<uint64_t>(record.file_size, INT64_MAX)));
     }},
    TEXT(create_time),
    TEXT(modify_time),
    {"has_cover",
     [](const MediaInfo &record, std::vector<std::string> *) {
         return VELUDBValue::Integer(record.has_cover != 0 ? 1 : 0);
     }},
    TEXT(camera_make),
    TEXT(camera_model),
    TEXT(exposure_time),
    TEXT(f_number),
    TEXT(date_taken),
    {"iso_speed",
     [](const MediaInfo &record, std::vector<std::string> *) {
         // The column is an integer of 32 bits with a sign.
         return VELUDBValue::Integer(std::min<int64_t>(record.iso_speed, INT32_MAX));
     }},
};

#undef NUMBER
#undef TAG
#undef TEXT

} // namespace

std::string MediaRowStatement(const char *table) {
    std::string columns;
    std::string parameters;
    std::string updates;
    int number = 0;
    for (const Column &column : kColumns) {
        const std::string name = column.name;
        columns += (number > 0 ? ", " : "") + name;
        parameters += (number > 0 ? ", $" : "$") + std::to_string(number + 1);
        if (number > 0)
            updates += (number > 1 ? ", " : "") + name + " = excluded." + name;
        ++number;
    }
    return std::string("insert into ") + table + " (" + columns + ") values (" + parameters +
           ") on conflict (path) do update set " + updates;
}

MediaRow MediaRowOf(const MediaInfo &record) {
    MediaRow row;
    row.texts.reserve(std::size(kColumns));
    row.values.reserve(std::size(kColumns));
    for (const Column &column : kColumns)
        row.values.push_back(column.value(record, &row.texts));
    return row;
}
