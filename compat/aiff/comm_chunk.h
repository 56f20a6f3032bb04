// SPDX-License-Identifier: GPL-2.0-or-later
//
// The common chunk of an AIFF or AIFF-C file, decoded.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

// Its fixed part in both forms, and with the compression type that AIFF-C adds.
inline constexpr size_t kCommSize = 18;
inline constexpr size_t kCommCompressedSize = 22;

struct CommChunk {
    uint64_t sample_frames;
    int channels;
    double rate;
    int bits;
    int segment_size;
};

// Decodes the fixed part; `compressed` says that the compression type behind it counts.
CommChunk CommChunkDecode(std::span<const uint8_t, kCommCompressedSize> bytes, bool compressed);
