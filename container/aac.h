// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading raw AAC files (ISO/IEC 13818-7, ADTS and ADIF), measured by an external decoder.
#pragma once

struct MediaInfo;

// Adds what the decoder says of a file to its record, whose text is then made valid. Returns 0 or, logged unless the
// decoder said nothing, -1.
int AacMetadataRead(const char *path, MediaInfo *record);

// Adds what a raw AAC file holds to a record (an IndexReader).
int AacRead(const char *path, MediaInfo *record);
