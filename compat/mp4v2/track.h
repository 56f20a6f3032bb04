// SPDX-License-Identifier: GPL-2.0-or-later
//
// Mp4Track: what is known of one track.
#pragma once

#include <stdint.h>

#include "compat/mp4v2/box_walk.h"
#include "platform/bytes.h"

inline constexpr int kMp4NoChannels = -1;

struct Mp4Track {
    uint32_t id = 0;
    char type[5] = {}; // the handler's four characters
    uint32_t time_scale = 0;
    uint64_t duration = 0; // in the time scale
    uint16_t width = 0;    // pixels
    uint16_t height = 0;
    int channels = kMp4NoChannels;
    uint8_t object_type = 0;       // ISO/IEC 14496-1, 7.2.6.6; 0 without a descriptor
    uint32_t average_bit_rate = 0; // bit/s as the descriptor says; 0 unknown
    uint32_t pcm_frame_bytes = 0;  // of one sample of all channels; 0 when the sound is not plain PCM
    Box sizes;                     // `stsz` or `stz2`, if there is one
};

inline bool Mp4TrackIs(const Mp4Track &track, uint32_t type) {
    return BigEndian32(reinterpret_cast<const uint8_t *>(track.type)) == type;
}
