// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexers of the files that have no reader of their own: probed ones, whose metadata the media probe reads,
// and plain ones (raw PCM, disc images, subtitles), of which only the file system is asked.
//
// Adding returns 0 when the row was saved, 1 when it was saved although the probe could not read the file, -1
// when nothing was saved. Removing returns 0 or -1; the row of a file that still exists stays.
#pragma once

int ProbedAudioIndex(const char *path);
int PlainAudioIndex(const char *path);
int ProbedVideoIndex(const char *path);
int PlainVideoIndex(const char *path);

int AudioRemove(const char *path);
int VideoRemove(const char *path);
