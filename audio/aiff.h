// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of AIFF and AIFF-C files (Apple, Audio Interchange File Format 1.3).
#pragma once

struct MediaInfo;

// Fills a record. Returns 0, also for a file whose audio format cannot be read (it keeps path, size, times
// and the name defaults), or -1 for a missing argument or file.
int AiffInfoGet(const char *path, MediaInfo *record);

// Returns 0 when the row was saved, else -1.
int AiffIndexAdd(const char *path);

// Returns 0 or -1; the row of a file that still exists stays.
int AiffIndexDelete(const char *path);
