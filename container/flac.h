// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of FLAC files (RFC 9639: STREAMINFO and Vorbis comments).
#pragma once

struct MediaInfo;

// Adds the stream's values and the tags to a record. Returns 0 or, logged, -1; the stream's values stay in the
// record when only the tags cannot be read.
int FlacMetadataRead(const char *path, MediaInfo *record);

// Returns 0 when the file was handed to the store, 1 when that happened without its metadata, else -1.
int FlacFileIndex(const char *path);
