// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/jpegxl.h"

#include <array>

#include "reader/photo/boxes.h"

namespace {

// As much as the size takes behind the code stream's mark.
constexpr size_t kSizeHeader = 16;

struct Bits {
    std::span<const uint8_t> bytes;
    size_t at = 0;
};

uint64_t Take(Bits *bits, int count) {
    uint64_t number = 0;
    for (int i = 0; i < count; ++i, ++bits->at) {
        if (bits->at / 8 < bits->bytes.size())
            number |= static_cast<uint64_t>(bits->bytes[bits->at / 8] >> bits->at % 8 & 1) << i;
    }
    return number;
}

// ISO/IEC 18181-1, D.1: a side is told in one of four lengths, or by eights.
uint64_t TakeSide(Bits *bits, bool by_eights) {
    constexpr int kLengths[] = {9, 13, 18, 30};
    if (by_eights)
        return (Take(bits, 5) + 1) * 8;
    return Take(bits, kLengths[Take(bits, 2)]) + 1;
}

PhotoSize CodeStreamSize(std::span<const uint8_t> stream) {
    struct Ratio {
        uint64_t width;
        uint64_t height;
    };
    constexpr Ratio kRatios[] = {{0, 0}, {1, 1}, {12, 10}, {4, 3}, {3, 2}, {16, 9}, {5, 4}, {2, 1}};
    if (stream.size() < 2 || stream[0] != 0xFF || stream[1] != 0x0A)
        return {};
    Bits bits = {stream.subspan(2)};
    const bool by_eights = Take(&bits, 1) != 0;
    const uint64_t height = TakeSide(&bits, by_eights);
    const Ratio &ratio = kRatios[Take(&bits, 3)];
    return {ratio.width == 0 ? TakeSide(&bits, by_eights) : height * ratio.width / ratio.height, height};
}

void CodeStreamRead(ReaderInput *input, int64_t begin, PhotoMetadata *metadata) {
    std::array<uint8_t, kSizeHeader> stream{};
    const size_t got = InputRead(input, begin, std::as_writable_bytes(std::span(stream)));
    if (metadata->size.width == 0)
        metadata->size = CodeStreamSize(std::span(stream).first(got));
}

} // namespace

void JpegXlRead(ReaderInput *input, PhotoMetadata *metadata) {
    CodeStreamRead(input, 0, metadata);
    if (metadata->size.width != 0)
        return;
    for (const Box &box : FileBoxes(input)) {
        constexpr int64_t kPartNumber = 4;
        switch (box.type) {
        case BoxType("jxlc"):
            CodeStreamRead(input, box.begin, metadata);
            break;
        case BoxType("jxlp"):
            CodeStreamRead(input, box.begin + kPartNumber, metadata);
            break;
        case BoxType("Exif"):
            ExifItemRead(FileBoxRead(input, box), metadata);
            break;
        case BoxType("xml "): {
            const std::vector<uint8_t> packet = FileBoxRead(input, box);
            XmpBlockRead(Characters(packet), metadata);
            break;
        }
        default:
            break;
        }
    }
}
