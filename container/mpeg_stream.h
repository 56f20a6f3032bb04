// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a video sequence header (ISO/IEC 11172-2 section 2.4.2.3, ISO/IEC 13818-2 section 6.2.2) says, and the
// way through a program stream to the first one and to the first frame of its audio.
#pragma once

#include <stdint.h>

#include "audio/mpeg_header.h"
#include "container/mpeg_reader.h"

struct MpegSequenceInfo {
    int width = 0;
    int height = 0;
    double frame_rate = 0;    // frames per second; 0 for a code that stands for none
    int bit_rate = 0;         // as coded, in units of 400 bit/s
    double duration = 0;      // seconds: that of a file all of this bit rate, infinite without one
    uint8_t aspect_ratio = 0; // as coded
    int spare = 0;            // always 0
};

// Reads the sequence header that begins at `offset` and the sequence extensions behind it. Returns 0, or -1
// when there is none.
int MpegParseSequenceHeader(MpegReader *reader, int64_t offset, MpegSequenceInfo *info);

// Reads the first sequence header, wherever it stands, and the first header of the audio stream 0. Returns 0,
// or -1 (logged) when there is no video. Audio may be missing; `audio` then keeps what was decoded of headers
// that turned out to be none.
int MpegParseStream(MpegReader *reader, MpegSequenceInfo *info, MpegHeaderInfo *audio);
