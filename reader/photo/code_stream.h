// SPDX-License-Identifier: GPL-2.0-or-later
//
// A code stream of JPEG 2000 without a container (ITU-T T.800), which Exiv2 does not know.
#pragma once

#include "reader/input.h"
#include "reader/photo/metadata.h"

// Takes size and comment. False when the file is none.
bool CodeStreamRead(ReaderInput *input, PhotoMetadata *metadata);
