// SPDX-License-Identifier: GPL-2.0-or-later
//
// The columns of a media row: one list of name, kind, meaning and member, from which the binding of rows, the validity
// of records, what is taken from the probe, the tools' tables and the manual velu-catalogue(5) follow. The tables
// themselves are made by steps that never change (schema_steps.cpp), which are checked against it.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <string_view>
#include <type_traits>

#include "platform/media_record.h"

// What a column holds, by the type of its member.
enum class ColumnKind : uint8_t {
    path,    // char[]: bytes, stored exactly
    tag,     // char[] with a flag for UTF-16 beside it
    text,    // char[]
    number,  // int32_t
    flag,    // int32_t, stored as 0 or 1
    seconds, // float
    count,   // uint32_t
    small,   // uint32_t, stored in 31 bits
    bytes,   // uint64_t
};

// Where the values come from.
enum class ColumnSource : uint8_t {
    file_system,
    readers,
    probe, // and the readers
};

// The meaning of a column that the manual describes together with the one in front of it.
inline constexpr char kWithTheOneBefore[] = "";

struct MediaColumn {
    const char *name;    // of column and member
    const char *heading; // for people
    const char *meaning; // for the manual: sentences, or kWithTheOneBefore
    ColumnKind kind;
    ColumnSource source;
    size_t offset;       // in the record
    size_t size;         // of the member
    size_t utf16_offset; // of a tag's flag
};

template <typename Member>
constexpr bool ColumnKindFits(ColumnKind kind) {
    switch (kind) {
    case ColumnKind::path:
    case ColumnKind::tag:
    case ColumnKind::text:
        return std::is_array_v<Member> && std::is_same_v<std::remove_extent_t<Member>, char>;
    case ColumnKind::number:
    case ColumnKind::flag:
        return std::is_same_v<Member, int32_t>;
    case ColumnKind::seconds:
        return std::is_same_v<Member, float>;
    case ColumnKind::count:
    case ColumnKind::small:
        return std::is_same_v<Member, uint32_t>;
    case ColumnKind::bytes:
        return std::is_same_v<Member, uint64_t>;
    }
    return false;
}

template <typename Member, ColumnKind Kind>
constexpr MediaColumn MediaColumnOf(const char *name, const char *heading, const char *meaning,
                                    ColumnSource source, size_t offset, size_t utf16_offset) {
    static_assert(ColumnKindFits<Member>(Kind), "the kind of the column does not fit the type of the member");
    return {name, heading, meaning, Kind, source, offset, sizeof(Member), utf16_offset};
}

#define MEDIA_COLUMN(member, kind, source, heading, meaning)                                                 \
    MediaColumnOf<decltype(MediaInfo::member), ColumnKind::kind>(                                            \
        #member, heading, meaning, ColumnSource::source, offsetof(MediaInfo, member), 0)
#define MEDIA_TAG(member, source, heading, meaning)                                                          \
    MediaColumnOf<decltype(MediaInfo::member), ColumnKind::tag>(                                             \
        #member, heading, meaning, ColumnSource::source, offsetof(MediaInfo, member),                        \
        offsetof(MediaInfo, member##_utf16))

// The key first, the others in the order in which people see them.
inline constexpr MediaColumn kMediaRowColumns[] = {
    MEDIA_COLUMN(path, path, file_system, "PATH", "The file, byte by byte as the file system has it."),
    MEDIA_TAG(title, probe, "TITLE",
              "As tagged. Without a tag the title is the file's name less its extension and the album the "
              "name of its directory."),
    MEDIA_TAG(artist, probe, "ARTIST", kWithTheOneBefore),
    MEDIA_TAG(album, probe, "ALBUM", kWithTheOneBefore),
    MEDIA_TAG(genre, probe, "GENRE", kWithTheOneBefore),
    MEDIA_TAG(composer, readers, "COMPOSER", kWithTheOneBefore),
    MEDIA_TAG(comment, readers, "COMMENT", kWithTheOneBefore),
    MEDIA_COLUMN(track, number, probe, "TRACK", "0 means unknown."),
    MEDIA_COLUMN(disc, number, readers, "DISC", kWithTheOneBefore),
    MEDIA_COLUMN(year, number, probe, "YEAR", kWithTheOneBefore),
    MEDIA_COLUMN(duration, seconds, probe, "TIME", "Seconds. On a server the type is double precision."),
    MEDIA_COLUMN(audio_bitrate, count, probe, "AUDIO BIT/S", "Bits per second."),
    MEDIA_COLUMN(video_bitrate, count, probe, "VIDEO BIT/S", kWithTheOneBefore),
    MEDIA_COLUMN(sample_rate, count, probe, "HZ", "Hz, and the number of channels."),
    MEDIA_COLUMN(channels, count, probe, "CHANNELS", kWithTheOneBefore),
    MEDIA_COLUMN(width, count, probe, "WIDTH", "Pixels."),
    MEDIA_COLUMN(height, count, probe, "HEIGHT", kWithTheOneBefore),
    MEDIA_COLUMN(file_size, bytes, file_system, "SIZE", "Bytes."),
    MEDIA_COLUMN(create_time, text, file_system, "CHANGED",
                 "The last change of the file's status and the last write, local time, YYYY-MM-DD HH:MM:SS; "
                 "of a playlist in the form Sun Sep  9 01:46:40 2001."),
    MEDIA_COLUMN(modify_time, text, file_system, "WRITTEN", kWithTheOneBefore),
    MEDIA_COLUMN(has_cover, flag, readers, "COVER", "1 when a cover picture was stored."),
    MEDIA_COLUMN(camera_make, text, readers, "MAKE", "Of a photo, from its EXIF data."),
    MEDIA_COLUMN(camera_model, text, readers, "CAMERA", kWithTheOneBefore),
    MEDIA_COLUMN(exposure_time, text, readers, "EXPOSURE", kWithTheOneBefore),
    MEDIA_COLUMN(f_number, text, readers, "F", kWithTheOneBefore),
    MEDIA_COLUMN(date_taken, text, readers, "TAKEN", kWithTheOneBefore),
    MEDIA_COLUMN(iso_speed, small, readers, "ISO", "Of a photo, from its EXIF data."),
};

#undef MEDIA_TAG
#undef MEDIA_COLUMN

constexpr size_t MediaColumnBytes() {
    size_t bytes = 0;
    for (const MediaColumn &column : kMediaRowColumns)
        bytes += column.size + (column.kind == ColumnKind::tag ? sizeof(int32_t) : 0);
    return bytes;
}
inline constexpr size_t kMediaReservedBytes = 3 * sizeof(int32_t);
inline constexpr size_t kMediaPaddingBytes = 2; // in front of the duration
static_assert(MediaColumnBytes() + kMediaReservedBytes + kMediaPaddingBytes == sizeof(MediaInfo),
              "a member of the record has no column");

// Returns the column's type as the schema's steps have it (platform/index/schema.h).
constexpr std::string_view ColumnSqlType(ColumnKind kind) {
    switch (kind) {
    case ColumnKind::path:
        return "PATH";
    case ColumnKind::tag:
    case ColumnKind::text:
        return "text";
    case ColumnKind::seconds:
        return "REAL";
    case ColumnKind::number:
    case ColumnKind::flag:
    case ColumnKind::small:
        return "integer";
    case ColumnKind::count:
    case ColumnKind::bytes:
        break;
    }
    return "bigint";
}

// Returns the member of a column.
inline const char *MediaField(const MediaInfo &record, const MediaColumn &column) {
    return static_cast<const char *>(static_cast<const void *>(&record)) + column.offset;
}
inline char *MediaField(MediaInfo *record, const MediaColumn &column) {
    return static_cast<char *>(static_cast<void *>(record)) + column.offset;
}
template <typename Member>
Member MediaFieldAs(const MediaInfo &record, const MediaColumn &column) {
    Member value;
    memcpy(&value, MediaField(record, column), sizeof value);
    return value;
}

// Returns whether a column's text is raw UTF-16.
inline bool MediaFieldIsUtf16(const MediaInfo &record, const MediaColumn &column) {
    int32_t flag = 0;
    if (column.kind == ColumnKind::tag)
        memcpy(&flag, static_cast<const char *>(static_cast<const void *>(&record)) + column.utf16_offset,
               sizeof flag);
    return flag != 0;
}
