// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading MP4 audio files (ISO/IEC 14496-12 and -14, iTunes metadata) for their indexer.
#pragma once

struct MediaInfo;

// Adds what an MP4 file holds to a record (an IndexReader).
int Mp4Read(const char *path, MediaInfo *record);

// Replaces the audio values of a record by those that the media probe finds in the file.
void Mp4ProbedValuesTake(const char *path, MediaInfo *record);
