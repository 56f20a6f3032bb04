// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of pictures as media files (the photo library's rows are photo/photo_index's).
#pragma once

// Returns 0 when the row was saved or the path lies in an attribute directory ("@eaDir"), else -1.
int PhotoFileIndex(const char *path);

// Returns 0 or -1; the row of a file that still exists stays.
int PhotoFileRemove(const char *path);
