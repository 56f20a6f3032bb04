// SPDX-License-Identifier: GPL-2.0-or-later
//
// The header of a frame of MPEG audio (ISO/IEC 11172-3, 2.4.2.3; 13818-3; and the lower rates of "2.5").
#pragma once

#include "reader/syntax/cursor.h"

inline constexpr size_t kMpegHeaderSize = 4;

struct MpegHeader {
    int version = 0;      // 1, 2; 3 is "2.5"
    int layer = 0;        // 1 to 3; 0: it is no header
    uint32_t bitrate = 0; // bit/s; 0: free format
    uint32_t sample_rate = 0;
    uint32_t channels = 0;
    uint32_t samples = 0;    // a frame and channel
    uint32_t padding = 0;    // bytes
    uint32_t bytes = 0;      // of the frame; 0: free format
    uint32_t side_bytes = 0; // between the header and a Xing header
};

// Frames that have to be alike for a bit rate that does not vary, more than half a second: encoders of a varying rate begin
// with some frames of silence that are.
inline constexpr int kMpegSteadyFrames = 24;

MpegHeader MpegHeaderParse(Bytes bytes);

// Whether both are of one stream.
bool MpegHeadersMatch(const MpegHeader &one, const MpegHeader &other);
