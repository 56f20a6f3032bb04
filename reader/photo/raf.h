// SPDX-License-Identifier: GPL-2.0-or-later
//
// Fujifilm's raw photos (RAF), of which Exiv2 knows the EXIF data of the embedded JPEG alone.
#pragma once

#include "reader/input.h"
#include "reader/photo/metadata.h"

// The size that the picture is meant to have, of what the sensor took; nothing when the file is none, or does not tell.
PhotoSize RafSize(ReaderInput *input);
