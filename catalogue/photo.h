// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading pictures as media files for their indexer (the photo library's rows are photo/photo_index's).
#pragma once

struct MediaInfo;

// Adds times, EXIF fields of a JPEG and the size in pixels to a record (an IndexReader). The record of a path
// without a dot is left as it is; what cannot be read is no failure.
int PhotoRead(const char *path, MediaInfo *record);
