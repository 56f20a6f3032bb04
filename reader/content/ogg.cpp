// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/ogg.h"

#include <numeric>
#include <string_view>

namespace {

using namespace std::string_view_literals;

struct Coding {
    std::string_view bytes; // what a stream's first packet begins with
    ContentFormat format;
};

constexpr Coding kCodings[] = {
    {"\x01vorbis"sv, ContentFormat::ogg_vorbis},
    {"OpusHead"sv, ContentFormat::ogg_opus},
    {"Speex   "sv, ContentFormat::ogg_speex},
    {"\x7F"
     "FLAC"sv,
     ContentFormat::ogg_flac},
    {"fLaC"sv, ContentFormat::ogg_flac},
    {"\x80theora"sv, ContentFormat::film},
    {"BBCD\0"sv, ContentFormat::film},
    {"OVP80"sv, ContentFormat::film},
    {"\x01video\0\0\0"sv, ContentFormat::film},
    {"YUV4MPEG"sv, ContentFormat::film},
    {"CELT    "sv, ContentFormat::other_sound},
    {"PCM     "sv, ContentFormat::other_sound},
    {"\x01"
     "audio\0\0\0"sv,
     ContentFormat::other_sound},
};

constexpr size_t kLongestMark = 9;

ContentFormat CodingOf(std::string_view packet) {
    for (const Coding &row : kCodings) {
        if (packet.starts_with(row.bytes))
            return row.format;
    }
    return ContentFormat::unknown; // texts, indexes
}

} // namespace

ContentFormat OggLook(const ContentHead &head) {
    constexpr size_t kHeader = 27;
    constexpr size_t kFlagsAt = 5;
    constexpr uint8_t kBeginsStream = 2;
    ContentFormat sound = ContentFormat::unknown;
    int64_t position = head.begin;
    for (uint32_t page = 0; page < kContentStreamsMax; ++page) {
        uint8_t bytes[kHeader + UINT8_MAX];
        if (!FileBytes(head.input, position, bytes, kHeader) ||
            std::string_view(reinterpret_cast<const char *>(bytes), 4) != "OggS" ||
            (bytes[kFlagsAt] & kBeginsStream) == 0)
            break;
        const size_t segments = bytes[kHeader - 1];
        if (!FileBytes(head.input, position + static_cast<int64_t>(kHeader), bytes + kHeader, segments))
            break;
        const int64_t packet = position + static_cast<int64_t>(kHeader + segments);
        const size_t size = std::accumulate(bytes + kHeader, bytes + kHeader + segments, size_t{0});
        char mark[kLongestMark] = {};
        const size_t marked = size < kLongestMark ? size : kLongestMark;
        if (!FileBytes(head.input, packet, reinterpret_cast<uint8_t *>(mark), marked))
            break;
        const ContentFormat format = CodingOf({mark, marked});
        if (format == ContentFormat::film)
            return format;
        if (sound == ContentFormat::unknown)
            sound = format;
        position = packet + static_cast<int64_t>(size);
    }
    return sound == ContentFormat::unknown ? ContentFormat::film : sound;
}
