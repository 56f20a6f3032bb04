// SPDX-License-Identifier: GPL-2.0-or-later
//
// All calls of the MP4 reader, over a file in memory.
#include "compat/mp4v2/mp4.h"

#include <stdlib.h>

#include <initializer_list>

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

namespace {

void AskTrack(MP4FileHandle file, MP4TrackId track) {
    const MP4Duration duration = MP4GetTrackDuration(file, track);
    MP4ConvertFromTrackDuration(file, track, duration, 1);
    MP4GetTrackType(file, track);
    MP4GetTrackTimeScale(file, track);
    MP4GetTrackBitRate(file, track);
    MP4GetTrackVideoWidth(file, track);
    MP4GetTrackVideoHeight(file, track);
    if (MP4GetTrackAudioChannels(file, track) < -1)
        abort();
}

void AskTags(MP4FileHandle file) {
    for (auto *call : {MP4GetMetadataName, MP4GetMetadataArtist, MP4GetMetadataAlbum, MP4GetMetadataComment,
                       MP4GetMetadataWriter, MP4GetMetadataYear, MP4GetMetadataGenre}) {
        char *text = nullptr;
        if (call(file, &text) != (text != nullptr))
            abort();
        free(text);
    }
    uint16_t number = 0;
    uint16_t total = 0;
    MP4GetMetadataTrack(file, &number, &total);
    MP4GetMetadataDisk(file, &number, &total);
    MP4GetMetadataGenreNumber(file, &number);
    uint8_t *picture = nullptr;
    uint32_t size = 0;
    uint32_t type = 0;
    MP4GetMetadataCoverArt(file, &picture, &size, 0);
    MP4GetMetadataCoverArtFileType(file, &type, 0);
    free(picture);
}

} // namespace

static int Try(const uint8_t *data, size_t size) {
    const MemoryFile memory(data, size);
    const MP4FileHandle file = MP4Read(memory.path.c_str(), 0);
    const uint32_t count = MP4GetNumberOfTracks(file, nullptr, 0);
    for (uint32_t i = 0; i < count; ++i)
        AskTrack(file, MP4FindTrackId(file, static_cast<uint16_t>(i), nullptr, 0));
    AskTags(file);
    MP4Close(file);
    return 0;
}

static const FuzzTarget kTarget("fuzz_mp4", Try);
