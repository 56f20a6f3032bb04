// SPDX-License-Identifier: GPL-2.0-or-later
//
// JPEG (ITU-T T.81): the size stands in the frame header, behind any number of segments that are stepped over
// by their lengths, so that the frame header of a thumbnail inside one of them is never seen.
#include "platform/image/image_formats.h"

#include "platform/bytes.h"
#include "platform/limits.h"

namespace {

constexpr uint8_t kFill = 0xFF;
constexpr uint8_t kStuffed = 0x00;
constexpr uint8_t kTemporary = 0x01;
constexpr uint8_t kFirstFrame = 0xC0;
constexpr uint8_t kHuffmanTables = 0xC4;
constexpr uint8_t kReservedFrame = 0xC8;
constexpr uint8_t kArithmeticConditions = 0xCC;
constexpr uint8_t kLastFrame = 0xCF;
constexpr uint8_t kFirstRestart = 0xD0;
constexpr uint8_t kLastRestart = 0xD7;
constexpr uint8_t kStartOfImage = 0xD8;
constexpr uint8_t kEndOfImage = 0xD9;
constexpr uint8_t kStartOfScan = 0xDA;

constexpr size_t kSegmentLength = 2; // counts itself
constexpr size_t kFrameHeader = 8;   // length, precision, lines, samples per line, components
constexpr size_t kFrameComponent = 3;

struct JpegWalk {
    ImageReader *reader;
    uint64_t position;
    int stray_left;
};

bool IsFrame(uint8_t marker) {
    return marker >= kFirstFrame && marker <= kLastFrame && marker != kHuffmanTables &&
           marker != kReservedFrame && marker != kArithmeticConditions;
}

bool StandsAlone(uint8_t marker) {
    return marker == kTemporary || (marker >= kFirstRestart && marker <= kLastRestart);
}

bool EndsHeaders(uint8_t marker) {
    return marker == kStartOfImage || marker == kEndOfImage || marker == kStartOfScan;
}

// Finds the next marker, over fill bytes and over the stray bytes that decoders forgive as well.
bool NextMarker(JpegWalk *walk, uint8_t *marker) {
    bool filled = false;
    for (;;) {
        const uint8_t *byte = ImageBytes(walk->reader, walk->position, 1);
        if (byte == nullptr)
            return false;
        ++walk->position;
        if (filled && *byte != kFill && *byte != kStuffed) {
            *marker = *byte;
            return true;
        }
        const bool lead = !filled && *byte == kFill;
        filled = *byte == kFill;
        if (!lead && walk->stray_left-- == 0)
            return false;
    }
}

bool FrameSize(JpegWalk *walk, uint64_t length, PictureSize *size) {
    const uint8_t *frame = ImageBytes(walk->reader, walk->position, kFrameHeader);
    if (frame == nullptr)
        return false;
    const size_t components = frame[7];
    if (components == 0 || length != kFrameHeader + components * kFrameComponent)
        return false;
    *size = {BytesNumber(frame + 5, 2, ByteOrder::kBig), BytesNumber(frame + 3, 2, ByteOrder::kBig)};
    return true;
}

} // namespace

bool JpegPictureSize(ImageReader *reader, PictureSize *size) {
    JpegWalk walk = {reader, 2, kJpegStrayBytesMax};
    for (int segment = 0; segment < kJpegSegmentsMax; ++segment) {
        uint8_t marker = 0;
        if (!NextMarker(&walk, &marker) || EndsHeaders(marker))
            return false;
        if (StandsAlone(marker))
            continue;
        const uint8_t *bytes = ImageBytes(reader, walk.position, kSegmentLength);
        if (bytes == nullptr)
            return false;
        const uint64_t length = BytesNumber(bytes, kSegmentLength, ByteOrder::kBig);
        if (IsFrame(marker))
            return FrameSize(&walk, length, size);
        if (length < kSegmentLength)
            return false;
        walk.position += length;
    }
    return false;
}
