// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables of the catalogues as a list of steps.
#include "platform/index/schema.h"

#include "platform/db/words.h"

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

// The two spellings of the statements on albums become one.
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

} // namespace

std::span<const SchemaStep> SchemaSteps() {
    return kSteps;
}
