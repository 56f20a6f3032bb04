// SPDX-License-Identifier: GPL-2.0-or-later
//
// The header of a frame of AAC in ADTS (ISO/IEC 13818-7, 6.2).
#pragma once

#include "reader/syntax/cursor.h"

inline constexpr size_t kAdtsHeaderSize = 7;

struct AdtsHeader {
    uint32_t sample_rate = 0; // 0: it is no header
    uint32_t channels = 0;
    uint32_t samples = 0; // a frame and channel
    uint32_t bytes = 0;   // of the frame
};

AdtsHeader AdtsHeaderParse(Bytes bytes);
