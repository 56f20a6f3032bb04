// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the packets of an ASF file hold, where its header leaves something open.
#pragma once

#include "reader/sound/sound_bytes.h"

// How the packets lie in a file; all have one size (ASF 1.20, 3.2).
struct AsfPackets {
    int64_t begin = 0;
    uint64_t size = 0; // bytes of one
};

// Returns the bit rate of the MPEG audio in a stream when its first frames have one in common, else 0.
double AsfMpegRate(ReaderInput *input, const AsfPackets &packets, uint64_t stream);
