// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is in boxes of MP4 files (ISO/IEC 14496-12).
#pragma once

#include <optional>

#include "reader/sound/sound_bytes.h"
#include "reader/syntax/boxes.h"

// Returns the first box of a type, by the way that leads to it: {"mdia", "mdhd"}.
std::optional<Box> Mp4BoxFind(BoxWalk *walk, Box parent, std::initializer_list<std::string_view> way);

// Reads what is in a box, at most `size` bytes.
SoundBytes Mp4BoxRead(BoxWalk *walk, const Box &box, int64_t size);

// Takes the version, flags and two times that headers of movies, tracks and media begin with. Returns whether the numbers
// behind them are of the long kind.
bool Mp4TimesTake(Cursor *cursor);
