// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which picture of a file is its cover.
#pragma once

#include <vector>

#include "reader/input.h"
#include "reader/syntax/cursor.h"

// ID3v2.4.0-frames, section 4.14; FLAC and ASF have the same numbers.
inline constexpr unsigned kFrontCover = 3;

struct TagPicture {
    unsigned type = 0;
    Bytes bytes; // of the tag that was read
};

// Takes the first front cover that is a picture, else the first other one.
void PicturesTake(const std::vector<TagPicture> &pictures, PictureSink *sink);
