// SPDX-License-Identifier: GPL-2.0-or-later
//
// Sizes of pictures of the formats that Exiv2 does not know.
#pragma once

#include "reader/input.h"
#include "reader/photo/metadata.h"

// The size of a format that platform/image knows (JPEG, PNG, GIF, BMP, TIFF, PSD, ICO), also of a damaged file.
PhotoSize PlainSize(ReaderInput *input);

// Targa, which Exiv2 knows by the name's extension only.
PhotoSize TargaSize(ReaderInput *input);

// The size that a drawing asks for; in pixels of 96 to the inch.
PhotoSize SvgSize(ReaderInput *input);
