// SPDX-License-Identifier: GPL-2.0-or-later
//
// Raw photos of Sigma: a header with the size, and a directory at the end that leads to a JPEG with EXIF data.
#pragma once

#include <string_view>

#include "reader/input.h"
#include "reader/photo/metadata.h"

bool IsX3f(ReaderInput *input);
void X3fRead(ReaderInput *input, PhotoMetadata *metadata);
