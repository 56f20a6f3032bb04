// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows and path lists of the photo catalogue as owners, and the numbers of its tables.
#pragma once

#include "platform/handle.h"
#include "platform/veluindex.h"

enum PhotoTable : int {
    kPhotoTableImage = 0,
    kPhotoTableVideoDesc = 1,
    kPhotoTableVideoComment = 2,
    kPhotoTableShare = 3,
    kPhotoTableAccessRight = 4
};

using PhotoRows = std::unique_ptr<VELUIndexRows, CloseWith<PhotoInfoDBClose>>;
using MediaRows = std::unique_ptr<VELUIndexRows, CloseWith<MediaInfoDBClose>>;
using PathList = std::unique_ptr<PhotoPathList, CloseWith<FreePhotoPathList>>;
