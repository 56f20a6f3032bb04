// SPDX-License-Identifier: GPL-2.0-or-later
//
// Exiv2 wants a TIFF whole and in one piece of memory, where a raw photo has tens of megabytes of pixels and a few kilobytes
// that say something.
#pragma once

#include <stdint.h>

#include <span>

#include "reader/input.h"

// Fills `view`, zeroed memory as large as the part of the file that begins at `begin`, with the directories of the TIFF in
// there and what they point to. Values beyond the bounds of limits.h become empty ones. What is no TIFF is read from its
// begin.
void TiffViewFill(ReaderInput *input, int64_t begin, std::span<uint8_t> view);
