// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading MP3 files (MPEG-1/2 audio, ISO/IEC 11172-3 and 13818-3, with ID3 tags) for their indexer.
#pragma once

struct MediaInfo;

// Adds what an MP3 file holds to a record (an IndexReader).
int MusicRead(const char *path, MediaInfo *record);
