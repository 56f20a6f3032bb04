// SPDX-License-Identifier: GPL-2.0-or-later
//
// JPEG XL (ISO/IEC 18181), in its container or as the mere code stream.
#pragma once

#include "reader/input.h"
#include "reader/photo/metadata.h"

void JpegXlRead(ReaderInput *input, PhotoMetadata *metadata);
