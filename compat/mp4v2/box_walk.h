// SPDX-License-Identifier: GPL-2.0-or-later
//
// Boxes (ISO/IEC 14496-12, 4.2): a size, a type and a payload, which may be boxes again. The walk never
// recurses: each reader knows its children, so that nesting costs nothing.
#pragma once

#include <stdint.h>

#include "compat/mp4v2/box_file.h"

struct Box {
    uint32_t type = 0;
    uint64_t start = 0; // of the payload, behind the header
    uint64_t end = 0;
    bool is_cut = false; // it claims more than its parent has left

    [[nodiscard]] bool Exists() const { return type != 0; }
    [[nodiscard]] uint64_t PayloadSize() const { return end - start; }
};

consteval uint32_t BoxType(const char (&name)[5]) {
    uint32_t type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<uint8_t>(name[i]);
    return type;
}

// Version and flags, with which many payloads begin ("full boxes").
inline constexpr uint64_t kFullBoxBytes = 4;

// Reads the header at *pos and moves *pos behind the box. A box that runs past `end` is cut there. False
// when no box can begin there, or the file has had its share of boxes.
[[nodiscard]] bool BoxNext(BoxFile *file, uint64_t *pos, uint64_t end, Box *box);

// Finds the index-th box of a type between `pos` and `end`. Returns a box that does not exist when there is
// none.
[[nodiscard]] Box BoxFind(BoxFile *file, uint64_t pos, uint64_t end, uint32_t type, uint32_t index = 0);

// Returns the first `size` bytes of the payload (at most kMp4Window), or null when it is shorter.
const uint8_t *BoxPayload(BoxFile *file, const Box &box, size_t size);
