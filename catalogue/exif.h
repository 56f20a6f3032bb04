// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of a picture's EXIF data.
#pragma once

#include "platform/photo_record.h"

// Fills make, model, exposure, fnumber, date_taken, width, height and iso of the record from the EXIF data of
// the file at record->path. Fields that the file does not have, and all of them when it has no EXIF data,
// stay as they are. Returns 0, or -1 without a record.
int ExifInfoGet(PhotoRecord *record);
