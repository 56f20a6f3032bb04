// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the photo library takes from the media catalogue under the rule set `complete`: a picture is read once for both.
#pragma once

#include "platform/photo_record.h"

// Fills camera, exposure, date and size of a record with a path: of the picture that was just read, else of the media row
// of one that has not changed; one that has is read now, and its media row is saved. A picture that cannot be read has what its row says, or
// nothing. False when that cannot be told at this moment.
[[nodiscard]] bool PictureColumnsGet(PhotoRecord *record);

// Has it take the media row of a picture that is known to have it as it is now, without a look.
void PictureRowUse(const char *path);
