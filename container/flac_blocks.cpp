// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/flac_blocks.h"

#include "platform/bytes.h"
#include "platform/file.h"
#include "platform/limits.h"

#include <string.h>

#include <algorithm>

namespace {

constexpr size_t kMarkerSize = 4;      // "fLaC"
constexpr size_t kBlockHeaderSize = 4; // last-block flag and type, then the size in three bytes
constexpr size_t kId3HeaderSize = 10;  // id3.org 2.4.0 section 3.1
constexpr uint8_t kLastBlock = 0x80;

// The begin of most files has all their block headers but the one behind a picture, and costs one call.
constexpr size_t kWindow = 1024;

struct Reader {
    const FdHandle &file;
    uint8_t window[kWindow];
    size_t held; // bytes of the file's begin in the window
};

// Where the file is looked at, and what was passed on the way.
struct Position {
    uint64_t offset;
    int blocks;
};

// Reads `size` bytes at `offset`. False when the file ends before or cannot be read.
bool Read(const Reader &reader, uint64_t offset, uint8_t *out, size_t size) {
    if (offset > reader.held || size > reader.held - static_cast<size_t>(offset))
        return FileReadAt(reader.file, offset, out, size);
    memcpy(out, reader.window + offset, size);
    return true;
}

// False when the bounds are passed.
bool StepOver(Position *position, uint64_t size) {
    position->offset += size;
    position->blocks++;
    return position->blocks <= kFlacBlocksMax && position->offset <= kFlacMetadataMax;
}

// The bytes of an ID3v2 tag, its size counted as libFLAC does (a footer is not part of it).
uint64_t Id3TagSize(const uint8_t (&header)[kId3HeaderSize]) {
    return kId3HeaderSize + uint64_t{Syncsafe32(header + kId3HeaderSize - 4)};
}

// Passes an ID3v2 tag. False when something else than the FLAC marker follows; libFLAC knows one tag only.
bool FindMarker(const Reader &reader, Position *position) {
    uint8_t header[kId3HeaderSize];
    if (Read(reader, 0, header, sizeof header) && memcmp(header, "ID3", 3) == 0 &&
        !StepOver(position, Id3TagSize(header)))
        return false;
    if (!Read(reader, position->offset, header, kMarkerSize) || memcmp(header, "fLaC", kMarkerSize) != 0)
        return false;
    position->offset += kMarkerSize;
    return true;
}

} // namespace

bool FlacBlocksAreBounded(const char *path) {
    // The caller has seen a regular file; what takes its place meanwhile must not hold the daemon.
    const FdHandle file = OpenForReading(path);
    if (!file)
        return false;
    Reader reader = {file, {}, 0};
    reader.held = static_cast<size_t>(std::max<ssize_t>(FileReadSomeAt(file, 0, reader.window, kWindow), 0));
    Position position = {};
    if (!FindMarker(reader, &position))
        return false;
    // A file that ends too early is left to libFLAC, which refuses it at once.
    uint8_t header[kBlockHeaderSize];
    while (Read(reader, position.offset, header, sizeof header)) {
        if (!StepOver(&position, kBlockHeaderSize + BigEndian24(header + 1)))
            return false;
        if ((header[0] & kLastBlock) != 0)
            return true;
    }
    return true;
}
