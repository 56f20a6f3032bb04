// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows of photo_share: reading and changing them by the album's name, and the marks of a resync. Operations
// return 0, or -1, logged.
#pragma once

#include <stddef.h>

#include <string>

// Copies a field of the album's row to `out`. Fails silently when there is no such album.
int VELUPhotoShareGetFieldValue(const char *album, const char *field, char *out, size_t size);

// Gives the id for the next album: the largest plus 1; 1 for an empty table, or one that cannot be read.
int PhotoShareIdNext();

// Runs a statement. Returns the number of rows changed, or -1, logged with the line of the caller.
int AlbumExec(const std::string &sql, int line = __builtin_LINE());

// Sets the public flag of an album.
int VELUPhotoShareSubDirUpdatePublic(const char *album, const char *value);

// Follows the rename of an album in the names of its sub-albums and in the path of every cover that lies in it,
// whichever album shows that cover.
int VELUPhotoShareRenameSubDir(const char *new_album, const char *old_album);

// Moves the cover path of an album, whose row has the new name already.
int AlbumCoverMove(const char *new_album, const char *old_album);

// Clear the marks of all albums, or remove those without one; with a prefix, of the sub-albums of that album.
int PhotoShareMarkAll(const char *prefix);
int PhotoShareSweep(const char *prefix);

// Marks an album and its sub-albums as found, whatever the length of its name.
int AlbumTreeMark(const char *album);
