// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/webp_size.h"

#include "platform/bytes.h"

namespace {

// RFC 9649, sections 2.3 to 2.7: what a file holds is told by the name of its first chunk.
constexpr size_t kChunkName = 12;
constexpr size_t kChunkNameSize = 4;
constexpr size_t kChunkData = 20;
constexpr size_t kHeadSize = 30;

// RFC 6386, section 9.1: the start code of a key frame, and behind it two sides of 14 bits.
constexpr std::string_view kKeyFrame = "\x9D\x01\x2A";
constexpr size_t kKeyFrameAt = kChunkData + 3;
constexpr int kSideBits = 14;
constexpr uint64_t kSideMask = (1U << kSideBits) - 1;

constexpr char kLosslessSignature = 0x2F;

uint64_t NumberAt(std::string_view bytes, size_t at, size_t size) {
    return BytesNumber(reinterpret_cast<const uint8_t *>(bytes.data()) + at, size, ByteOrder::kLittle);
}

PixelSize Size(uint64_t width, uint64_t height) {
    return {static_cast<int>(width), static_cast<int>(height)};
}

} // namespace

PixelSize WebpSizeRead(std::string_view bytes) {
    if (bytes.size() < kHeadSize)
        return {};
    const std::string_view chunk = bytes.substr(kChunkName, kChunkNameSize);
    if (chunk == "VP8X")
        return Size(NumberAt(bytes, kChunkData + 4, 3) + 1, NumberAt(bytes, kChunkData + 7, 3) + 1);
    if (chunk == "VP8 " && bytes.substr(kKeyFrameAt, kKeyFrame.size()) == kKeyFrame) {
        const size_t sides = kKeyFrameAt + kKeyFrame.size();
        return Size(NumberAt(bytes, sides, 2) & kSideMask, NumberAt(bytes, sides + 2, 2) & kSideMask);
    }
    if (chunk == "VP8L" && bytes[kChunkData] == kLosslessSignature) {
        const uint64_t sides = NumberAt(bytes, kChunkData + 1, 4);
        return Size((sides & kSideMask) + 1, (sides >> kSideBits & kSideMask) + 1);
    }
    return {};
}
