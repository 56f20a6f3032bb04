// SPDX-License-Identifier: GPL-2.0-or-later
//
// The play time and format of a raw AAC file (ISO/IEC 13818-7), from its headers alone.
#pragma once

#include <stdint.h>

struct AacInfo {
    uint64_t samples;     // of each channel; 0 when not known
    uint32_t sample_rate; // as the header says: a decoder that finds extensions may put out twice that
    uint32_t channels;    // 0 when not known
    uint32_t bitrate;     // mean, bit/s; 0 when not known
};

// Reads a regular file: an ID3v2 tag is passed, then every ADTS frame is counted up to the first bytes that are
// none, or the ADIF header is read. False when it is neither.
[[nodiscard]] bool AacWalk(const char *path, AacInfo *info);
