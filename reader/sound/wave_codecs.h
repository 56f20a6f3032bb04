// SPDX-License-Identifier: GPL-2.0-or-later
//
// The codecs of Windows' waveform descriptions (RFC 2361), which WAV and ASF have.
#pragma once

#include "reader/sound/sound_file.h"
#include "reader/syntax/cursor.h"

inline constexpr uint64_t kWaveMpeg = 0x0050; // layers I and II
inline constexpr uint64_t kWaveMpegLayer3 = 0x0055;

struct WaveFormat {
    uint64_t tag = 0;
    uint64_t bytes_per_second = 0;
    uint64_t block_bytes = 0;
};

// Reads a description; sets the codec, rate, channels and bits.
WaveFormat WaveFormatRead(Bytes description, SoundStream *stream);
