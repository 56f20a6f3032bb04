// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows and path lists of the catalogues as owners.
#pragma once

#include "platform/handle.h"
#include "platform/veluindex.h"

using PhotoRows = std::unique_ptr<VELUIndexRows, CloseWith<PhotoInfoDBClose>>;
using MediaRows = std::unique_ptr<VELUIndexRows, CloseWith<MediaInfoDBClose>>;
using PathList = std::unique_ptr<PhotoPathList, CloseWith<FreePhotoPathList>>;
