// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables of the catalogues as a list of steps.
#include "platform/index/schema.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/db/words.h"
#include "platform/index/media_columns.h"

namespace {

#define MEDIA_TABLE(name)                                                                                    \
    "create table " name                                                                                     \
    " (path PATH primary key, title text, album text, artist text, genre text, composer text, "              \
    "comment text, track integer, disc integer, year integer, duration REAL, audio_bitrate bigint, "         \
    "video_bitrate bigint, sample_rate bigint, channels bigint, width bigint, height bigint, file_size "     \
    "bigint, "                                                                                               \
    "create_time text, modify_time text, has_cover integer, camera_make text, camera_model text, "           \
    "exposure_time text, f_number text, date_taken text, iso_speed integer)"

bool KeepsSpelledBooleans(const VELUDBWords &engine) {
    return engine.keeps_spelled_booleans;
}

// Statements on albums spell a boolean in two ways; these triggers make one of them.
#define PLAIN_BOOLEAN(column)                                                                                \
    column " = case when " column " is null then null when lower(" column                                    \
           ") in ('t', 'true', '1') then 't' "                                                               \
           "else 'f' end"
#define PLAIN_BOOLEANS                                                                                       \
    "on photo_share when new.public not in ('t', 'f') or new.allow_comment not in ('t', 'f') "               \
    "or new.is_subdir not in ('t', 'f') begin update photo_share set " PLAIN_BOOLEAN(                        \
        "public") ", " PLAIN_BOOLEAN("allow_comment") ", " PLAIN_BOOLEAN("is_subdir") " where shareid = "    \
                                                                                      "new.shareid; end"

constexpr SchemaStep kSteps[] = {
    {1, Catalogue::media, nullptr, MEDIA_TABLE("music")},
    {1, Catalogue::media, nullptr, MEDIA_TABLE("video")},
    {1, Catalogue::media, nullptr, MEDIA_TABLE("photo")},
    {1, Catalogue::media, nullptr, MEDIA_TABLE("playlist")},
    {1, Catalogue::media, nullptr,
     "create table directory (path PATH primary key, title text, create_time text, modify_time text)"},
    {1, Catalogue::photo, nullptr,
     "create table photo_image (id SERIAL primary key, path PATH unique, name text, title text, description "
     "text, "
     "album text, make text, model text, exposure text, fnumber text, date_taken text, create_time text, "
     "width integer, height integer, iso integer, file_size bigint, updated text)"},
    {1, Catalogue::photo, nullptr,
     "create table video_desc (path PATH primary key, title text, description text, updated text)"},
    {1, Catalogue::photo, nullptr,
     "create table video_comment (id SERIAL primary key, path PATH, name text, comment text, date text)"},
    {1, Catalogue::photo, nullptr, "create index video_comment_path on video_comment (path)"},
    {1, Catalogue::photo, nullptr,
     "create table photo_share (shareid integer primary key, sharename PATH unique, title text, description "
     "text, "
     "public boolean, hits integer, cover text, allow_comment boolean, is_subdir boolean, updated text)"},
    {1, Catalogue::photo, KeepsSpelledBooleans,
     "create trigger photo_share_insert after insert " PLAIN_BOOLEANS},
    {1, Catalogue::photo, KeepsSpelledBooleans,
     "create trigger photo_share_update after update of public, allow_comment, is_subdir " PLAIN_BOOLEANS},
    {1, Catalogue::photo, nullptr,
     "create table photo_access_right (userid integer, shareid integer, granted text)"},
};

#undef PLAIN_BOOLEANS
#undef PLAIN_BOOLEAN
#undef MEDIA_TABLE

// Returns what a step declares for a table, as "name type, name type": all of it, or what an "alter" adds.
constexpr std::string_view Declarations(std::string_view sql, std::string_view table) {
    for (const std::string_view head :
         {std::string_view("create table "), std::string_view("alter table ")}) {
        if (!sql.starts_with(head) || !sql.substr(head.size()).starts_with(table))
            continue;
        const std::string_view rest = sql.substr(head.size() + table.size());
        for (const std::string_view link : {std::string_view(" ("), std::string_view(" add column ")})
            if (rest.starts_with(link))
                return rest.substr(link.size());
    }
    return {};
}

// Returns whether one of the declarations is that of the column.
constexpr bool Declares(std::string_view declarations, const MediaColumn &column) {
    const std::string_view name = column.name;
    const std::string_view type = ColumnSqlType(column.kind);
    for (size_t at = 0; at < declarations.size();) {
        const std::string_view one = declarations.substr(at);
        if (one.starts_with(name) && one.substr(name.size()).starts_with(' ') &&
            one.substr(name.size() + 1).starts_with(type))
            return true;
        const size_t comma = one.find(", ");
        if (comma == std::string_view::npos)
            break;
        at += comma + 2;
    }
    return false;
}

// Returns whether the steps together give a table the columns of the list, and no others.
constexpr bool StepsMakeColumnsOf(std::string_view table) {
    size_t declared = 0;
    size_t listed = 0;
    for (const SchemaStep &step : kSteps) {
        const std::string_view declarations = Declarations(step.sql, table);
        if (step.catalogue != Catalogue::media || declarations.empty())
            continue;
        declared += 1 + static_cast<size_t>(std::count(declarations.begin(), declarations.end(), ','));
        for (const MediaColumn &column : kMediaRowColumns)
            listed += Declares(declarations, column) ? 1U : 0U;
    }
    return declared == std::size(kMediaRowColumns) && listed == declared;
}
static_assert(StepsMakeColumnsOf(kMediaTables[0]), "a column of kMediaRowColumns has no step for music");
static_assert(StepsMakeColumnsOf(kMediaTables[1]), "a column of kMediaRowColumns has no step for video");
static_assert(StepsMakeColumnsOf(kMediaTables[2]), "a column of kMediaRowColumns has no step for photo");
static_assert(StepsMakeColumnsOf(kMediaTables[3]), "a column of kMediaRowColumns has no step for playlist");

} // namespace

std::span<const SchemaStep> SchemaSteps() {
    return kSteps;
}
