// SPDX-License-Identifier: GPL-2.0-or-later
//
// Pictures of the formats that Exiv2 knows.
#pragma once

#include <string>

#include "reader/content/format.h"
#include "reader/input.h"
#include "reader/photo/metadata.h"

// Reads the picture that lies from `begin` to `end` in the file. What the library found before it gave up counts; then this is
// false, and `reason` says why.
bool PictureMetadataRead(ReaderInput *input, int64_t begin, int64_t end, PhotoMetadata *metadata,
                         std::string *reason);

// The same of a picture that has been put together from parts of the file.
bool PictureBytesRead(std::span<const uint8_t> bytes, PhotoMetadata *metadata, std::string *reason);
