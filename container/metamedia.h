// SPDX-License-Identifier: GPL-2.0-or-later
//
// The watched probe: reads a media file with libavformat in a child process that is limited in time and
// memory.
#pragma once

struct MediaInfo;

// Fills the record with what the probe finds. Returns 0 when it could read the file, 1 when it could not, -1
// when the child could not be started or had to be killed. What was found before a failure is in the record.
// The first call loads the probe's module; while that is missing, no file can be read (logged once).
int MiscMediaInfoGet(const char *path, MediaInfo *record);
