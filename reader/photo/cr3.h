// SPDX-License-Identifier: GPL-2.0-or-later
//
// Raw photos of Canon since 2018: boxes (ISO/IEC 14496-12) around blocks of TIFF, a packet of XMP and pictures. The library for
// photos holds the boxes that it is in, one inside the other, with all their pictures; it is shown the blocks alone.
#pragma once

#include <string>

#include "reader/input.h"
#include "reader/photo/metadata.h"

bool IsCr3(ReaderInput *input);

// As PictureMetadataRead.
bool Cr3Read(ReaderInput *input, PhotoMetadata *metadata, std::string *reason);
