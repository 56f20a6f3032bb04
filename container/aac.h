// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of raw AAC files (ISO/IEC 13818-7, ADTS and ADIF), measured by an external decoder.
#pragma once

struct MediaInfo;

// Adds what the decoder says of a file to its record. Returns 0 or -1.
int AacMetadataRead(const char *path, MediaInfo *record);

// Returns 0 when the file was handed to the store, 1 when that happened without the decoder's values, else
// -1.
int AacFileIndex(const char *path);
