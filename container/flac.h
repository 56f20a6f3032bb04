// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading FLAC files (RFC 9639: STREAMINFO and Vorbis comments).
#pragma once

struct MediaInfo;

// Adds the stream's values and the tags to a record. Returns 0 or, logged, -1; the stream's values stay in the
// record when only the tags cannot be read.
int FlacMetadataRead(const char *path, MediaInfo *record);

// Adds what a FLAC file holds to a record (an IndexReader).
int FlacRead(const char *path, MediaInfo *record);
