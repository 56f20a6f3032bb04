// SPDX-License-Identifier: GPL-2.0-or-later
//
// HEIF (ISO/IEC 23008-12) with any coding, HEIC and AVIF among them: items and their properties.
#pragma once

#include "reader/input.h"
#include "reader/photo/metadata.h"

void HeifRead(ReaderInput *input, PhotoMetadata *metadata);
