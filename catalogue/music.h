// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of MP3 files (MPEG-1/2 audio, ISO/IEC 11172-3 and 13818-3, with ID3 tags).
#pragma once

// Returns 0 when the row was saved, 1 when it was saved although the file's metadata could not be read, -1
// when nothing was saved.
int MusicFileIndex(const char *path);

// Returns 0 or -1; the row of a file that still exists stays.
int MusicFileRemove(const char *path);
