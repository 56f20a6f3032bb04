// SPDX-License-Identifier: GPL-2.0-or-later
//
// MPEG audio frame headers (ISO/IEC 11172-3 section 2.4.2.3, ISO/IEC 13818-3): finding one in a file,
// decoding it, and searching for the first that another one follows. Works on any reader through ByteSource.
#pragma once

#include <stdint.h>

#include "audio/byte_source.h"

struct MpegHeaderInfo {
    int32_t version = 0; // 1 MPEG-1, 2 MPEG-2, 3 MPEG-2.5
    int32_t layer = 0;   // 1 to 3; -1 after a reserved layer
    int32_t is_protected = 0;
    int32_t bit_rate = 0; // bit/s once decoding has succeeded, kbit/s before
    float byte_rate = 0;
    int32_t sample_rate = 0;  // Hz
    int32_t channel_mode = 0; // 0 stereo, 1 joint stereo, 2 dual channel, 3 mono
    int32_t padding = 0;
    int32_t mode_extension = 0; // of joint stereo, else -1
    int32_t emphasis = 0;
    int32_t copyright = 0;
    int32_t original = 0;
    double duration = 0; // seconds
    int32_t frame_size = 0;
    int64_t header_pos = 0;
};

// Finds the first sync pattern at or after *pos and decodes the header there. Returns 1; or 0 when the header
// is no good (*pos stays on it) or when there is no pattern (logged). `info` keeps what was decoded before a
// header turned out bad. Duration is that of a file all of this bit rate.
int MpegHeaderFind(const ByteSource *source, int64_t *pos, MpegHeaderInfo *info);

// Returns 0 when a valid header begins exactly at `pos`, else -1. Nothing is logged. A free-format header
// counts as valid here.
int MpegHeaderCheck(const ByteSource *source, int64_t pos);

// What may stand between a frame and the header that confirms it.
enum class FrameGap { none, zeros };

// Searches at and after *pos for a frame header that is followed by another one where its frame ends, or,
// with FrameGap::zeros, at the first byte behind that which is not zero. Returns 1 with *pos on the header,
// or 0. Each byte of the file is looked at a bounded number of times, whatever it holds.
int MpegFrameSearch(const ByteSource *source, int64_t *pos, MpegHeaderInfo *info, FrameGap gap);
