// SPDX-License-Identifier: GPL-2.0-or-later
//
// The picture whose media row was made last, for whoever makes a row of it in another catalogue: it is read once for both.
#pragma once

#include "catalogue/media_info.h"
#include "platform/index/picture_rows.h"

void LastPictureKeep(const MediaInfo &record);
void LastPictureKeep(const char *path, PictureColumns columns);
void LastPictureForget();

// Takes what is kept. False when that is not of this path.
[[nodiscard]] bool LastPictureTake(const char *path, PictureColumns *columns);
