// SPDX-License-Identifier: GPL-2.0-or-later
//
// Picture formats that tell their size at a fixed place: PNG, GIF, BMP, PSD and ICO.
#include "platform/image/image_formats.h"

#include <string.h>

#include "platform/bytes.h"

namespace {

uint64_t Big(const uint8_t *bytes, size_t size) {
    return BytesNumber(bytes, size, ByteOrder::kBig);
}
uint64_t Little(const uint8_t *bytes, size_t size) {
    return BytesNumber(bytes, size, ByteOrder::kLittle);
}

// BMP: the length of the bitmap header, which follows the file header, tells its kind.
constexpr size_t kBmpFileHeader = 14;
constexpr uint64_t kBmpCoreHeader = 12;     // OS/2 1.x: 16-bit sizes
constexpr uint64_t kBmpShortestHeader = 16; // OS/2 2.x, cut as far as it may be: 32-bit sizes from here on
constexpr uint64_t kBmpLongestHeader = 124; // BITMAPV5HEADER

constexpr size_t kIcoDirectory = 6;
constexpr size_t kIcoEntry = 16;
constexpr uint64_t kIcoFullSide = 256; // does not fit its byte, which is then 0

} // namespace

// ISO/IEC 15948, 11.2.2: IHDR is the first chunk.
bool PngPictureSize(ImageReader *reader, PictureSize *size) {
    constexpr uint8_t kHeaderChunk[] = {0, 0, 0, 13, 'I', 'H', 'D', 'R'};
    const uint8_t *header = ImageBytes(reader, 8, 16);
    if (header == nullptr || memcmp(header, kHeaderChunk, sizeof kHeaderChunk) != 0)
        return false;
    *size = {Big(header + 8, 4), Big(header + 12, 4)};
    return true;
}

// The logical screen, which all images of the file are drawn on.
bool GifPictureSize(ImageReader *reader, PictureSize *size) {
    const uint8_t *screen = ImageBytes(reader, 6, 4);
    if (screen == nullptr)
        return false;
    *size = {Little(screen, 2), Little(screen + 2, 2)};
    return true;
}

bool BmpPictureSize(ImageReader *reader, PictureSize *size) {
    const uint8_t *header = ImageBytes(reader, kBmpFileHeader, kBmpCoreHeader);
    if (header == nullptr)
        return false;
    const uint64_t length = Little(header, 4);
    if (length == kBmpCoreHeader) {
        *size = {Little(header + 4, 2), Little(header + 6, 2)};
        return true;
    }
    if (length < kBmpShortestHeader || length > kBmpLongestHeader)
        return false;
    auto height = static_cast<uint32_t>(Little(header + 8, 4));
    const bool top_down = height > INT32_MAX;
    if (top_down)
        height = 0 - height;
    *size = {Little(header + 4, 4), height};
    return true;
}

bool PsdPictureSize(ImageReader *reader, PictureSize *size) {
    const uint8_t *header = ImageBytes(reader, 4, 18);
    if (header == nullptr)
        return false;
    const uint64_t version = Big(header, 2);
    if (version != 1 && version != 2)
        return false;
    *size = {Big(header + 14, 4), Big(header + 10, 4)};
    return true;
}

// The directory's first entry, which must point behind the directory: four signature bytes alone are too
// little to know an icon by.
bool IcoPictureSize(ImageReader *reader, PictureSize *size) {
    const uint8_t *directory = ImageBytes(reader, 0, kIcoDirectory + kIcoEntry);
    if (directory == nullptr)
        return false;
    const uint64_t entries = Little(directory + 4, 2);
    const uint8_t *entry = directory + kIcoDirectory;
    const uint64_t image_size = Little(entry + 8, 4);
    const uint64_t image_offset = Little(entry + 12, 4);
    if (entries == 0 || image_size == 0 || image_offset < kIcoDirectory + entries * kIcoEntry)
        return false;
    const auto side = [](uint8_t byte) { return byte == 0 ? kIcoFullSide : byte; };
    *size = {side(entry[0]), side(entry[1])};
    return true;
}
