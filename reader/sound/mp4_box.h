// SPDX-License-Identifier: GPL-2.0-or-later
//
// Boxes of MP4 files (ISO/IEC 14496-12, 4.2), one level at a time.
#pragma once

#include <optional>

#include "reader/sound/cursor.h"

struct Mp4Box {
    char type[4] = {};
    int64_t begin = 0; // of what is in it
    int64_t end = 0;   // never behind that of its parent

    bool Is(std::string_view wanted) const { return std::string_view(type, 4) == wanted; }
};

struct Mp4Walk {
    ReaderInput *input;
    int boxes_left; // that are looked at, kSoundBoxesMax at first
};

// Takes the box at `*at`, which then is behind it. Returns false at the end and where there is none.
bool Mp4BoxTake(Mp4Walk *walk, int64_t *at, int64_t end, Mp4Box *box);

// Returns the first box of a type, by the way that leads to it: {"mdia", "mdhd"}.
std::optional<Mp4Box> Mp4BoxFind(Mp4Walk *walk, Mp4Box parent, std::initializer_list<std::string_view> way);

// Reads what is in a box, at most `size` bytes.
SoundBytes Mp4BoxRead(Mp4Walk *walk, const Mp4Box &box, int64_t size);

// Takes the version, flags and two times that headers of movies, tracks and media begin with. Returns whether the numbers
// behind them are of the long kind.
bool Mp4TimesTake(Cursor *cursor);

// Takes a box out of memory. Returns what is in it; its type is empty at the end.
struct Mp4MemoryBox {
    std::string_view type;
    Bytes content;
};
Mp4MemoryBox Mp4MemoryBoxTake(Cursor *cursor);
