// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading the files that have no reader of their own, by the media probe, for their indexers.
#pragma once

struct MediaInfo;

// Add what the media probe finds to a record (IndexReaders, each with the log line of its kind).
int ProbedAudioRead(const char *path, MediaInfo *record);
int ProbedVideoRead(const char *path, MediaInfo *record);
