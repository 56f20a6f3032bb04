// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/code_stream.h"

#include <array>

#include "platform/bytes.h"
#include "platform/limits.h"
#include "reader/photo/boxes.h"

namespace {

PhotoSize SizeRead(ReaderInput *input) {
    std::array<uint8_t, 24> head{}; // marks, length, capabilities, extent and offset of the picture (A.5.1)
    if (InputRead(input, 0, std::as_writable_bytes(std::span(head))) != head.size() || head[0] != 0xFF)
        return {};
    const uint64_t right = BigEndian32(head.data() + 8);
    const uint64_t bottom = BigEndian32(head.data() + 12);
    const uint64_t left = BigEndian32(head.data() + 16);
    const uint64_t top = BigEndian32(head.data() + 20);
    if (left >= right || top >= bottom)
        return {};
    return {right - left, bottom - top};
}

// The first one in text (A.9.2); they stand before the first tile.
std::string CommentRead(ReaderInput *input) {
    constexpr uint64_t kMark = 2;
    constexpr uint16_t kTile = 0xFF90;
    constexpr uint16_t kComment = 0xFF64;
    constexpr uint16_t kText = 1;
    uint64_t at = kMark;
    for (size_t segments = 0; segments < kPhotoBoxesMax; ++segments) {
        constexpr size_t kHeader = 6; // mark, length, and what a comment is
        const std::vector<uint8_t> header = FilePart(input, at, kHeader);
        if (header.size() != kHeader || header[0] != 0xFF || BigEndian16(header.data()) == kTile)
            break;
        const uint64_t size = BigEndian16(header.data() + 2);
        if (BigEndian16(header.data()) == kComment && BigEndian16(header.data() + 4) == kText &&
            size + kMark >= kHeader) {
            const std::vector<uint8_t> text = FilePart(input, at + kHeader, size + kMark - kHeader);
            return std::string(Characters(text));
        }
        at += kMark + size;
    }
    return {};
}

} // namespace

bool CodeStreamRead(ReaderInput *input, PhotoMetadata *metadata) {
    metadata->size = SizeRead(input);
    if (metadata->size.width == 0)
        return false;
    metadata->comment = CommentRead(input);
    return true;
}
