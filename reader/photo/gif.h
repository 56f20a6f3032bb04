// SPDX-License-Identifier: GPL-2.0-or-later
//
// GIF, of which Exiv2 knows the size alone.
#pragma once

#include "reader/input.h"
#include "reader/photo/metadata.h"

// Takes size, XMP and the first comment. What stands behind kPhotoBytesMax bytes does not count.
void GifRead(ReaderInput *input, PhotoMetadata *metadata);
