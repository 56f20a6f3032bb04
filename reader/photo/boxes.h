// SPDX-License-Identifier: GPL-2.0-or-later
//
// Boxes (ISO/IEC 14496-12) of a picture: in the file one by one, in memory once a box has been read.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>
#include <vector>

#include "reader/input.h"

using Bytes = std::span<const uint8_t>;

struct FileBox {
    uint32_t type = 0;
    int64_t begin = 0; // of what it holds
    int64_t end = 0;
};

constexpr uint32_t BoxName(const char (&name)[5]) {
    uint32_t type = 0;
    for (size_t i = 0; i < 4; ++i)
        type = type << 8 | static_cast<uint8_t>(name[i]);
    return type;
}

// Returns the boxes that the file consists of, at most kPhotoBoxesMax.
std::vector<FileBox> FileBoxes(ReaderInput *input);

// Reads what a box holds; nothing when that is more than kPhotoValueMax bytes, or they are not there.
std::vector<uint8_t> FileBoxRead(ReaderInput *input, const FileBox &box);

// Reads `size` bytes at `offset` of the file; nothing in the same cases.
std::vector<uint8_t> FilePart(ReaderInput *input, uint64_t offset, uint64_t size);

// Reads numbers off the front of bytes. Once there are too few, all that follows is 0.
struct BytesCursor {
    Bytes left;
    bool failed = false;
};

uint64_t CursorNumber(BytesCursor *cursor, size_t size);
Bytes CursorTake(BytesCursor *cursor, uint64_t size);

struct MemoryBox {
    uint32_t type = 0;
    Bytes bytes;
};

// Takes a box off the front; false at the end, or where a size is wrong.
bool CursorBox(BytesCursor *cursor, MemoryBox *box);
