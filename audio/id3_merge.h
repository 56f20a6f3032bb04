// SPDX-License-Identifier: GPL-2.0-or-later
//
// Merging what an MP3 file says about itself into its catalogue record.
#pragma once

#include "audio/id3v1.h"
#include "audio/id3v2.h"
#include "audio/mpeg_header.h"
#include "platform/media_record.h"

// Fills the record from the MPEG header and the tags. A field of the ID3v2 tag goes before that of ID3v1.
void Mp3InfoMerge(MediaInfo *record, const MpegHeaderInfo *mpeg, const Id3v1Block *id3v1,
                  const Id3v2Tag *id3v2);
