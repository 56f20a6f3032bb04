// SPDX-License-Identifier: GPL-2.0-or-later
//
// The size of the picture among those that a TIFF holds: raw photos have a small copy first.
#pragma once

#include "reader/photo/metadata.h"

// Returns that of the part which Panasonic's raw photos say they keep of the sensor's whole picture, else `whole`.
PhotoSize SensorPartSize(const Exiv2::ExifData &exif, PhotoSize whole);

// Returns that of the largest picture that is not called a reduced copy, else `first`, that of the first directory.
PhotoSize TiffSize(const Exiv2::ExifData &exif, PhotoSize first);
