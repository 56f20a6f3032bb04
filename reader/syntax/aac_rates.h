// SPDX-License-Identifier: GPL-2.0-or-later
//
// Numbers of MPEG-4 audio (ISO/IEC 14496-3, 1.6.3).
#pragma once

#include <stdint.h>

inline constexpr uint32_t kAacSampleRates[16] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050,
                                                 16000, 12000, 11025, 8000,  7350,  0,     0,     0};
inline constexpr uint8_t kAacChannels[16] = {0, 1, 2, 3, 4, 5, 6, 8, 0, 0, 0, 7, 8, 24, 8, 0};
