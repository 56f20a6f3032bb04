// SPDX-License-Identifier: GPL-2.0-or-later
//
// The calls about tracks.
#include "compat/mp4v2/movie.h"
#include "compat/mp4v2/sample_sizes.h"

#include <string.h>

#include <algorithm>

namespace {

constexpr uint32_t kMilliseconds = 1000;
constexpr uint64_t kBitsPerByteMillisecond = 8 * kMilliseconds; // bit/s of one byte in a millisecond

// Of two tracks with one id the first answers.
const Mp4Track *TrackFind(MP4FileHandle handle, MP4TrackId id) {
    if (handle == nullptr || id == MP4_INVALID_TRACK_ID)
        return nullptr;
    for (const Mp4Track &track : MovieOf(handle)->tracks) {
        if (track.id == id)
            return &track;
    }
    return nullptr;
}

bool IsAskedFor(const Mp4Track &track, const char *type, uint8_t sub_type) {
    return (type == nullptr || strcmp(type, track.type) == 0) &&
           (sub_type == 0 || sub_type == track.object_type);
}

// a x b / divisor, rounded down; false when that has more than 64 bits or the divisor is 0.
bool Scale(uint64_t a, uint32_t b, uint32_t divisor, uint64_t *result) {
    if (divisor == 0)
        return false;
    const uint64_t whole = a / divisor;
    const uint64_t part = a % divisor * b / divisor; // both factors have 32 bits
    if (b != 0 && whole > (UINT64_MAX - part) / b)
        return false;
    *result = whole * b + part;
    return true;
}

uint32_t SampleBitRate(Mp4Movie *movie, const Mp4Track &track) {
    uint64_t milliseconds = 0;
    if (!Scale(track.duration, kMilliseconds, track.time_scale, &milliseconds) || milliseconds == 0)
        return 0;
    const uint64_t bytes = SampleSizesSum(&movie->file, track);
    if (bytes > UINT64_MAX / kBitsPerByteMillisecond)
        return 0;
    const uint64_t rate = bytes * kBitsPerByteMillisecond / milliseconds;
    return rate > UINT32_MAX ? 0 : static_cast<uint32_t>(rate); // no true rate is that high
}

} // namespace

uint32_t MP4GetNumberOfTracks(MP4FileHandle file, const char *type, uint8_t sub_type) {
    if (file == nullptr)
        return 0;
    const auto &tracks = MovieOf(file)->tracks;
    return static_cast<uint32_t>(std::count_if(tracks.begin(), tracks.end(), [&](const Mp4Track &track) {
        return IsAskedFor(track, type, sub_type);
    }));
}

MP4TrackId MP4FindTrackId(MP4FileHandle file, uint16_t index, const char *type, uint8_t sub_type) {
    if (file == nullptr)
        return MP4_INVALID_TRACK_ID;
    for (const Mp4Track &track : MovieOf(file)->tracks) {
        if (IsAskedFor(track, type, sub_type) && index-- == 0)
            return track.id;
    }
    return MP4_INVALID_TRACK_ID;
}

const char *MP4GetTrackType(MP4FileHandle file, MP4TrackId track) {
    const Mp4Track *found = TrackFind(file, track);
    return found == nullptr ? nullptr : found->type;
}

uint32_t MP4GetTrackTimeScale(MP4FileHandle file, MP4TrackId track) {
    const Mp4Track *found = TrackFind(file, track);
    return found == nullptr ? 0 : found->time_scale;
}

MP4Duration MP4GetTrackDuration(MP4FileHandle file, MP4TrackId track) {
    const Mp4Track *found = TrackFind(file, track);
    return found == nullptr ? MP4_INVALID_DURATION : found->duration;
}

uint64_t MP4ConvertFromTrackDuration(MP4FileHandle file, MP4TrackId track, MP4Duration duration,
                                     uint32_t time_scale) {
    const Mp4Track *found = TrackFind(file, track);
    uint64_t converted = 0;
    if (found == nullptr || !Scale(duration, time_scale, found->time_scale, &converted))
        return MP4_INVALID_DURATION;
    return converted;
}

uint32_t MP4GetTrackBitRate(MP4FileHandle file, MP4TrackId track) {
    const Mp4Track *found = TrackFind(file, track);
    if (found == nullptr)
        return 0;
    return found->average_bit_rate != 0 ? found->average_bit_rate : SampleBitRate(MovieOf(file), *found);
}

int MP4GetTrackAudioChannels(MP4FileHandle file, MP4TrackId track) {
    const Mp4Track *found = TrackFind(file, track);
    return found == nullptr ? kMp4NoChannels : found->channels;
}

uint16_t MP4GetTrackVideoWidth(MP4FileHandle file, MP4TrackId track) {
    const Mp4Track *found = TrackFind(file, track);
    return found == nullptr ? uint16_t{0} : found->width;
}

uint16_t MP4GetTrackVideoHeight(MP4FileHandle file, MP4TrackId track) {
    const Mp4Track *found = TrackFind(file, track);
    return found == nullptr ? uint16_t{0} : found->height;
}
