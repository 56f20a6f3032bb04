// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where a picture was taken.
#pragma once

#include "reader/photo/metadata.h"
#include "reader/protocol/fact_list.h"

// Adds latitude and longitude, which stand together, and the altitude: from EXIF, else from XMP.
void GpsAdd(const PhotoMetadata &metadata, FactList *facts);
