// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/streams.h"

namespace {

// ISO/IEC 13818-1, 2.4.3.2; with the time of arrival in front (discs), or check bytes behind (broadcast).
constexpr size_t kPacketSizes[] = {188, 192, 204};
constexpr uint8_t kPacketSync = 0x47;
constexpr size_t kPacketsInRow = 5;

bool IsTransport(const ContentHead &head) {
    for (const size_t packet : kPacketSizes) {
        for (size_t begin = 0; begin < packet && begin + (kPacketsInRow - 1) * packet < head.size; ++begin) {
            size_t row = 0;
            while (row < kPacketsInRow && head.bytes[begin + row * packet] == kPacketSync)
                ++row;
            if (row == kPacketsInRow)
                return true;
        }
    }
    return false;
}

// ISO/IEC 13818-2 table 6-1, 13818-1 table 2-22, 14496-2 table 6-3: codes that stand at a stream's begin.
bool IsMpegCode(uint8_t code) {
    constexpr uint8_t kVisualObject = 0xB0;
    constexpr uint8_t kSequence = 0xB3;
    constexpr uint8_t kPack = 0xBA;
    constexpr uint8_t kSystem = 0xBB;
    constexpr uint8_t kFirstSound = 0xC0;
    constexpr uint8_t kLastVideo = 0xEF;
    constexpr uint8_t kAdvanced = 0x0F; // SMPTE 421M (VC-1)
    return code == kVisualObject || code == kSequence || code == kPack || code == kSystem ||
           code == kAdvanced || (code >= kFirstSound && code <= kLastVideo);
}

// ITU-T H.264 table 7-1 and H.265 table 7-1: parameter sets and delimiters, which begin a stream.
bool IsVideoUnit(uint8_t first, uint8_t second) {
    constexpr uint8_t kForbidden = 0x80;
    constexpr unsigned kH264Parameters = 7;
    constexpr unsigned kH264Delimiter = 9;
    constexpr unsigned kH265Parameters = 32;
    constexpr unsigned kH265Delimiter = 35;
    if ((first & kForbidden) != 0)
        return false;
    const unsigned h264 = first & 0x1FU;
    const unsigned h265 = first >> 1;
    return h264 == kH264Parameters || h264 == kH264Delimiter ||
           (h265 >= kH265Parameters && h265 <= kH265Delimiter && (first & 1) == 0 && second == 1);
}

// Writers pad with zeros in front of a start code.
bool IsCoded(const ContentHead &head) {
    constexpr size_t kZeros = 2;
    size_t zeros = 0;
    while (zeros < head.size && head.bytes[zeros] == 0)
        ++zeros;
    if (zeros < kZeros || head.size - zeros < 3 || head.bytes[zeros] != 1)
        return false;
    const uint8_t first = head.bytes[zeros + 1];
    return IsMpegCode(first) || IsVideoUnit(first, head.bytes[zeros + 2]);
}

} // namespace

ContentFormat StreamLook(const ContentHead &head) {
    return IsCoded(head) || IsTransport(head) ? ContentFormat::film : ContentFormat::unknown;
}
