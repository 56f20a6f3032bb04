// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading a picture's file that consists of boxes, or of other parts.
#pragma once

#include <vector>

#include "reader/syntax/boxes.h"

// Returns the boxes that the file consists of, at most kPhotoBoxesMax.
std::vector<Box> FileBoxes(ReaderInput *input);

// Reads what a box holds; nothing when that is more than kPhotoValueMax bytes, or they are not there.
std::vector<uint8_t> FileBoxRead(ReaderInput *input, const Box &box);

// Reads `size` bytes at `offset` of the file; nothing in the same cases.
std::vector<uint8_t> FilePart(ReaderInput *input, uint64_t offset, uint64_t size);
