// SPDX-License-Identifier: GPL-2.0-or-later
//
// What can be known of a media file, by name: the columns of its row and the facts beside it. One table for the reader, which
// fills them, the daemon, which believes none of it, and everybody who prints them.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <iterator>
#include <string_view>

// The wire has these as numbers, so that they stay in the order of kFacts.
enum class FactName : uint16_t {
    title,
    album,
    artist,
    albumartist,
    genre,
    composer,
    comment,
    year,
    track,
    disc,
    duration,
    audio_bitrate,
    video_bitrate,
    sample_rate,
    channels,
    width,
    height,
    camera_make,
    camera_model,
    exposure_time,
    f_number,
    iso_speed,
    date_taken,
    date,
    originaldate,
    tracktotal,
    disctotal,
    compilation,
    bpm,
    conductor,
    lyricist,
    publisher,
    isrc,
    language,
    lyrics,
    replaygain_track_gain,
    replaygain_album_gain,
    musicbrainz_trackid,
    musicbrainz_albumid,
    musicbrainz_artistid,
    titlesort,
    artistsort,
    albumsort,
    codec,
    video_codec,
    container,
    bits_per_sample,
    hdr,
    frame_rate,
    rotation,
    audio_language,
    subtitle_language,
    chapter,
    orientation,
    gps_latitude,
    gps_longitude,
    gps_altitude,
    lens,
    focal_length,
    keyword,
    rating,
    description,
    show,
    season,
    episode,
    date_source,
    date_offset,
};

enum class FactType : uint8_t {
    text,
    whole,  // a number without a fraction, not negative
    number, // any finite number
};

struct FactKind {
    FactName name;
    const char *word; // in the catalogue, and where it is printed
    FactType type;
    bool several = false; // a file may have more than one value
};

inline constexpr FactKind kFacts[] = {
    {FactName::title, "title", FactType::text, true},
    {FactName::album, "album", FactType::text, true},
    {FactName::artist, "artist", FactType::text, true},
    {FactName::albumartist, "albumartist", FactType::text, true},
    {FactName::genre, "genre", FactType::text, true},
    {FactName::composer, "composer", FactType::text, true},
    {FactName::comment, "comment", FactType::text, true},
    {FactName::year, "year", FactType::whole},
    {FactName::track, "track", FactType::whole},
    {FactName::disc, "disc", FactType::whole},
    {FactName::duration, "duration", FactType::number},          // seconds
    {FactName::audio_bitrate, "audio_bitrate", FactType::whole}, // bit/s
    {FactName::video_bitrate, "video_bitrate", FactType::whole}, // bit/s
    {FactName::sample_rate, "sample_rate", FactType::whole},     // Hz; of DSD that of its bits
    {FactName::channels, "channels", FactType::whole},
    {FactName::width, "width", FactType::whole}, // pixels, as coded
    {FactName::height, "height", FactType::whole},
    {FactName::camera_make, "camera_make", FactType::text},
    {FactName::camera_model, "camera_model", FactType::text},
    {FactName::exposure_time, "exposure_time", FactType::text},
    {FactName::f_number, "f_number", FactType::text},
    {FactName::iso_speed, "iso_speed", FactType::whole},
    {FactName::date_taken, "date_taken", FactType::text}, // "YYYY-MM-DD HH:MM:SS", local time as written
    {FactName::date, "date", FactType::text},             // as written
    {FactName::originaldate, "originaldate", FactType::text},
    {FactName::tracktotal, "tracktotal", FactType::whole},
    {FactName::disctotal, "disctotal", FactType::whole},
    {FactName::compilation, "compilation", FactType::whole}, // 1
    {FactName::bpm, "bpm", FactType::number},
    {FactName::conductor, "conductor", FactType::text, true},
    {FactName::lyricist, "lyricist", FactType::text, true},
    {FactName::publisher, "publisher", FactType::text, true},
    {FactName::isrc, "isrc", FactType::text, true},
    {FactName::language, "language", FactType::text, true}, // ISO 639-2 as in the file
    {FactName::lyrics, "lyrics", FactType::text},
    {FactName::replaygain_track_gain, "replaygain_track_gain", FactType::number}, // dB
    {FactName::replaygain_album_gain, "replaygain_album_gain", FactType::number},
    {FactName::musicbrainz_trackid, "musicbrainz_trackid", FactType::text, true},
    {FactName::musicbrainz_albumid, "musicbrainz_albumid", FactType::text, true},
    {FactName::musicbrainz_artistid, "musicbrainz_artistid", FactType::text, true},
    {FactName::titlesort, "titlesort", FactType::text},
    {FactName::artistsort, "artistsort", FactType::text, true},
    {FactName::albumsort, "albumsort", FactType::text},
    {FactName::codec, "codec", FactType::text}, // of the first sound stream, ffprobe's codec_name
    {FactName::video_codec, "video_codec", FactType::text},
    {FactName::container, "container", FactType::text}, // libavformat's short name
    {FactName::bits_per_sample, "bits_per_sample", FactType::whole},
    {FactName::hdr, "hdr", FactType::text},                 // hdr10, hdr10plus, hlg, dolby_vision
    {FactName::frame_rate, "frame_rate", FactType::number}, // a second
    {FactName::rotation, "rotation", FactType::whole}, // degrees clockwise that a player turns the picture
    {FactName::audio_language, "audio_language", FactType::text, true},
    {FactName::subtitle_language, "subtitle_language", FactType::text, true},
    {FactName::chapter, "chapter", FactType::text, true},         // titles, in order
    {FactName::orientation, "orientation", FactType::whole},      // 1 to 8, TIFF 6.0
    {FactName::gps_latitude, "gps_latitude", FactType::number},   // degrees, north positive
    {FactName::gps_longitude, "gps_longitude", FactType::number}, // degrees, east positive
    {FactName::gps_altitude, "gps_altitude", FactType::number},   // metres above the sea
    {FactName::lens, "lens", FactType::text},
    {FactName::focal_length, "focal_length", FactType::number}, // millimetres
    {FactName::keyword, "keyword", FactType::text, true},
    {FactName::rating, "rating", FactType::number},
    {FactName::description, "description", FactType::text},
    {FactName::show, "show", FactType::text},
    {FactName::season, "season", FactType::whole},
    {FactName::episode, "episode", FactType::whole},
    {FactName::date_source, "date_source", FactType::text}, // exif, xmp, iptc
    {FactName::date_offset, "date_offset", FactType::text}, // "+02:00"
};

inline constexpr size_t kFactNames = std::size(kFacts);

consteval bool FactsAreInOrder() {
    for (size_t i = 0; i < kFactNames; ++i) {
        if (kFacts[i].name != static_cast<FactName>(i))
            return false;
    }
    return true;
}
static_assert(FactsAreInOrder(), "each FactName has its row, in the order of the enumeration");

constexpr const FactKind &FactKindOf(FactName name) {
    return kFacts[static_cast<size_t>(name)];
}
