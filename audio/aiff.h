// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading AIFF and AIFF-C files (Apple, Audio Interchange File Format 1.3) for their indexer.
#pragma once

struct MediaInfo;

// Adds the audio format to a record (an IndexReader, always 0). A file in which there is none to read is no
// failure.
int AiffRead(const char *path, MediaInfo *record);
