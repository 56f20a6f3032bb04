// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of MP4 audio files (ISO/IEC 14496-12 and -14, iTunes metadata).
#pragma once

struct MediaInfo;

// Fills a record. Returns 0, 1 when the metadata could not be read (the record is still usable), -1 for a
// missing argument or file.
int Mp4MediaInfoGet(const char *path, MediaInfo *record);

// Returns 0 when the file was handed to the store, 1 when that happened without its metadata, else -1.
int Mp4FileIndex(const char *path);

// Returns 0 or -1; the row of a file that still exists stays.
int Mp4FileRemove(const char *path);
