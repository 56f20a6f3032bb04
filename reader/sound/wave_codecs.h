// SPDX-License-Identifier: GPL-2.0-or-later
//
// The codecs of Windows' waveform descriptions (RFC 2361), which WAV and ASF have.
#pragma once

#include "reader/sound/cursor.h"
#include "reader/sound/sound_file.h"

struct WaveFormat {
    uint64_t tag = 0;
    uint64_t bytes_per_second = 0;
    uint64_t block_bytes = 0;
};

// Reads a description; sets the codec, rate, channels and bits.
WaveFormat WaveFormatRead(Bytes description, SoundStream *stream);
