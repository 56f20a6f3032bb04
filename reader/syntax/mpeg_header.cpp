// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/syntax/mpeg_header.h"

namespace {

// In thousands of bits a second, by the index in the header; version 1 by layers, then version 2 with layer I and with the others.
constexpr uint16_t kBitrates[5][15] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
};
constexpr uint32_t kSampleRates[3] = {44100, 48000, 32000};

uint32_t BitrateOf(int version, int layer, unsigned index) {
    const int row = version == 1 ? layer - 1 : (layer == 1 ? 3 : 4);
    return kBitrates[row][index] * 1000U;
}

uint32_t SamplesOf(int version, int layer) {
    if (layer == 1)
        return 384;
    return layer == 3 && version != 1 ? 576 : 1152;
}

uint32_t SideBytesOf(int version, bool mono) {
    if (version == 1)
        return mono ? 17 : 32;
    return mono ? 9 : 17;
}

} // namespace

MpegHeader MpegHeaderParse(Bytes bytes) {
    if (bytes.size() < kMpegHeaderSize || bytes[0] != 0xFF || (bytes[1] & 0xE0) != 0xE0)
        return {};
    const unsigned version_bits = bytes[1] >> 3 & 3U;
    const unsigned layer_bits = bytes[1] >> 1 & 3U;
    const unsigned bitrate_index = bytes[2] >> 4;
    const unsigned rate_index = bytes[2] >> 2 & 3U;
    if (version_bits == 1 || layer_bits == 0 || bitrate_index == 15 || rate_index == 3)
        return {};
    MpegHeader header;
    header.version = version_bits == 3 ? 1 : (version_bits == 2 ? 2 : 3);
    header.layer = 4 - static_cast<int>(layer_bits);
    header.bitrate = BitrateOf(header.version, header.layer, bitrate_index);
    header.sample_rate = kSampleRates[rate_index] >> (header.version - 1);
    const bool mono = bytes[3] >> 6 == 3;
    header.channels = mono ? 1 : 2;
    header.samples = SamplesOf(header.version, header.layer);
    header.side_bytes = SideBytesOf(header.version, mono);
    const uint32_t slot = header.layer == 1 ? 4 : 1;
    header.padding = (bytes[2] >> 1 & 1U) * slot;
    if (header.bitrate != 0)
        header.bytes =
            header.samples / 8 / slot * header.bitrate / header.sample_rate * slot + header.padding;
    return header;
}

bool MpegHeadersMatch(const MpegHeader &one, const MpegHeader &other) {
    return one.layer != 0 && one.layer == other.layer && one.version == other.version &&
           one.sample_rate == other.sample_rate && (one.bitrate == 0) == (other.bitrate == 0);
}
