// SPDX-License-Identifier: GPL-2.0-or-later
//
// What libavformat knows of a file, and which of its streams the row is about.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <stdint.h>

struct FilmView {
    AVFormatContext *format = nullptr;
    int64_t size = 0;                // bytes of the file
    const AVStream *sound = nullptr; // the first one
    const AVStream *film = nullptr;  // the first one that moves
};

// Chooses the streams among those that are known by now.
FilmView FilmViewOf(AVFormatContext *format, int64_t size);

// Returns whether a stream is a picture that stands still beside the sound: an attached one, or a track of one frame.
[[nodiscard]] bool IsCover(const AVStream &stream);

[[nodiscard]] int Channels(const AVCodecParameters &parameters);

// Returns what a stream says beside its packets, or null.
const uint8_t *StreamSideData(const AVStream &stream, AVPacketSideDataType type);
