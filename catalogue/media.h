// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading the files that have no reader of their own, by the media probe, for their indexers.
#pragma once

struct MediaInfo;

// IndexReaders: the probe, with the log line of either kind.
int ProbedAudioRead(const char *path, MediaInfo *record);
int ProbedVideoRead(const char *path, MediaInfo *record);
