// SPDX-License-Identifier: GPL-2.0-or-later
//
// Boxes (ISO/IEC 14496-12, 4.2), one level at a time: in the file, or in memory once the box around them has been read.
#pragma once

#include "reader/input.h"
#include "reader/syntax/cursor.h"

// The number that a type of four characters is.
constexpr uint32_t BoxType(std::string_view name) {
    uint32_t type = 0;
    for (const char character : name)
        type = type << 8 | static_cast<uint8_t>(character);
    return type;
}

struct Box {
    uint32_t type = 0;
    int64_t begin = 0; // of what is in it, in the file
    int64_t end = 0;   // never behind that of what holds it

    bool Is(std::string_view name) const { return type == BoxType(name); }
};

struct BoxWalk {
    ReaderInput *input;
    uint32_t boxes_left; // that are looked at
};

// Takes the box at `*at`, which then is behind it, out of something that ends at `end`. Returns false at the end, where there is
// none and once too many have been looked at.
bool BoxTake(BoxWalk *walk, int64_t *at, int64_t end, Box *box);

struct MemoryBox {
    uint32_t type = 0;
    Bytes content;

    bool Is(std::string_view name) const { return type == BoxType(name); }
};

// Takes a box off the front, with what there is of it; false at the end and where there is none.
bool MemoryBoxTake(Cursor *cursor, MemoryBox *box);
