// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reader of MP4 files: the parameters of their tracks and their iTunes metadata.
#pragma once

struct MediaInfo;

// Removes the file's old covers, fills the record and stores the cover picture. Returns 0, or -1 (logged) when
// the file cannot be read or has no tracks.
int Mp4MetadataRead(const char *path, MediaInfo *record);
