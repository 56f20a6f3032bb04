// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/syntax/adts_header.h"

#include "reader/syntax/aac_rates.h"

namespace {

constexpr uint32_t kBlockSamples = 1024;

} // namespace

AdtsHeader AdtsHeaderParse(Bytes bytes) {
    AdtsHeader header;
    if (bytes.size() < kAdtsHeaderSize || bytes[0] != 0xFF || (bytes[1] & 0xF6) != 0xF0)
        return header;
    const uint32_t sample_rate = kAacSampleRates[bytes[2] >> 2 & 0xF];
    const uint32_t size = (bytes[3] & 3U) << 11 | static_cast<uint32_t>(bytes[4]) << 3 | bytes[5] >> 5;
    if (sample_rate == 0 || size < kAdtsHeaderSize)
        return header;
    header.sample_rate = sample_rate;
    header.channels = kAacChannels[(bytes[2] & 1U) << 2 | bytes[3] >> 6];
    header.samples = ((bytes[6] & 3U) + 1) * kBlockSamples;
    header.bytes = size;
    return header;
}
