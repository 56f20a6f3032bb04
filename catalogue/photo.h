// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading pictures as media files for their indexer (the photo library's rows are photo/photo_index's).
#pragma once

struct MediaInfo;

// An IndexReader: times, EXIF fields of a JPEG, size in pixels. A path without a dot is left as it is; nothing
// that cannot be read is a failure.
int PhotoRead(const char *path, MediaInfo *record);
