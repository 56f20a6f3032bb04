// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which fact each key of a tag is: one table a format.
#pragma once

#include "reader/sound/tag_items.h"

extern const TagTable kId3Table;   // by the names of ID3v2.4; ID3v1 as well
extern const TagTable kXiphTable;  // FLAC, Ogg
extern const TagTable kMp4Table;   // ilst; free-form items by their name alone, behind "----:"
extern const TagTable kApeTable;   // APEv2
extern const TagTable kAsfTable;   // ASF
extern const TagTable kChunkTable; // RIFF INFO, text chunks of AIFF and DSDIFF
