// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mp4_track.h"

#include "platform/limits.h"
#include "reader/sound/mp4_codec.h"

namespace {

// Boxes that are read whole: ordinary ones have some hundred bytes.
constexpr int64_t kSmallBox = 4096;

// Sizes of samples are read so many bytes at a time.
constexpr int64_t kSizesPiece = 64 * 1024;

bool IsSound(BoxWalk *walk, const Box &mdia) {
    const std::optional<Box> handler = Mp4BoxFind(walk, mdia, {"hdlr"});
    if (!handler)
        return false;
    const SoundBytes bytes = Mp4BoxRead(walk, *handler, 12);
    return bytes.size == 12 && BeginsWith(bytes.View().subspan(8), "soun");
}

void MediaHeaderRead(BoxWalk *walk, const Box &mdia, Mp4Track *track) {
    const std::optional<Box> header = Mp4BoxFind(walk, mdia, {"mdhd"});
    if (!header)
        return;
    const SoundBytes bytes = Mp4BoxRead(walk, *header, 32);
    Cursor cursor{bytes.View()};
    const bool is_long = Mp4TimesTake(&cursor);
    track->timescale = TakeBig(&cursor, 4);
    track->duration = TakeBig(&cursor, is_long ? 8 : 4);
    if (track->duration == (is_long ? UINT64_MAX : UINT32_MAX)) // not known
        track->duration = 0;
}

uint64_t TrackId(BoxWalk *walk, const Box &trak) {
    const std::optional<Box> header = Mp4BoxFind(walk, trak, {"tkhd"});
    if (!header)
        return 0;
    const SoundBytes bytes = Mp4BoxRead(walk, *header, 24);
    Cursor cursor{bytes.View()};
    Mp4TimesTake(&cursor);
    return TakeBig(&cursor, 4);
}

// What is played of the media. Entries with a time of -1 are silence before it.
uint64_t EditedDuration(BoxWalk *walk, const Box &trak) {
    const std::optional<Box> list = Mp4BoxFind(walk, trak, {"edts", "elst"});
    if (!list)
        return 0;
    const SoundBytes bytes = Mp4BoxRead(walk, *list, kSmallBox);
    Cursor cursor{bytes.View()};
    const size_t size = TakeBig(&cursor, 1) == 1 ? 8 : 4;
    Take(&cursor, 3);
    uint64_t entries = TakeBig(&cursor, 4);
    uint64_t edited = 0;
    for (; entries > 0 && !cursor.rest.empty(); --entries) {
        const uint64_t duration = TakeBig(&cursor, size);
        const uint64_t time = TakeBig(&cursor, size);
        Take(&cursor, 4);
        if (time != (size == 8 ? UINT64_MAX : UINT32_MAX) && !cursor.cut)
            edited += std::min(duration, UINT64_MAX / 2 - edited);
    }
    return edited;
}

uint64_t SamplesBytes(BoxWalk *walk, const Box &table) {
    const std::optional<Box> box = Mp4BoxFind(walk, table, {"stsz"});
    if (!box)
        return 0;
    const SoundBytes header = Mp4BoxRead(walk, *box, 12);
    Cursor cursor{header.View()};
    Take(&cursor, 4);
    const uint64_t one = TakeBig(&cursor, 4);
    const uint64_t count = TakeBig(&cursor, 4);
    if (cursor.cut || count > kSoundSamplesMax)
        return 0;
    if (one != 0)
        return one * count;
    uint64_t bytes = 0;
    const int64_t end = std::min(box->end, box->begin + 12 + static_cast<int64_t>(count) * 4);
    for (int64_t at = box->begin + 12; at < end; at += kSizesPiece) {
        const SoundBytes sizes = SoundBytesRead(walk->input, at, std::min(kSizesPiece, end - at));
        for (size_t i = 0; i + 4 <= sizes.size; i += 4)
            bytes += BigEndian32(sizes.data.get() + i);
    }
    return bytes;
}

// QuickTime's tables count the samples of PCM, each as one byte.
void PcmRateSet(Mp4Track *track) {
    const SoundStream &stream = track->stream;
    track->stream.bitrate =
        static_cast<double>(stream.sample_rate * stream.channels * stream.bits_per_sample);
    track->bytes = 0;
}

} // namespace

std::optional<Mp4Track> Mp4SoundTrackRead(BoxWalk *walk, const Box &trak) {
    const std::optional<Box> mdia = Mp4BoxFind(walk, trak, {"mdia"});
    if (!mdia || !IsSound(walk, *mdia))
        return std::nullopt;
    Mp4Track track;
    track.id = TrackId(walk, trak);
    MediaHeaderRead(walk, *mdia, &track);
    track.edited = EditedDuration(walk, trak);
    const std::optional<Box> table = Mp4BoxFind(walk, *mdia, {"minf", "stbl"});
    if (!table)
        return track;
    track.bytes = SamplesBytes(walk, *table);
    if (const std::optional<Box> entries = Mp4BoxFind(walk, *table, {"stsd"})) {
        const SoundBytes bytes = Mp4BoxRead(walk, *entries, kSmallBox);
        Mp4CodecRead(bytes.View(), &track.stream);
    }
    if (track.stream.codec != nullptr && std::string_view(track.stream.codec).starts_with("pcm_"))
        PcmRateSet(&track);
    return track;
}
