// SPDX-License-Identifier: GPL-2.0-or-later
//
// Albums: the directories of the photo share down to one level below the top, as rows of photo_share.
#pragma once

#include <stddef.h>

enum AlbumOperation : int { kAlbumCreate = 1, kAlbumDelete = 2 };

// Creates or deletes the album of a directory; `op` is one of AlbumOperation. A delete takes the albums below with
// it, and with the share's own path all. Returns 0 or -1.
int PhotoShareUpdate(const char *path, int op);

// Creates the albums of a new directory and of its sub-directories. Returns 0 or -1.
int PhotoShareTreeAdd(const char *path);

// Follows the rename of a directory. Returns 0 or -1.
int PhotoShareRename(const char *new_path, const char *old_path);

// Brings the albums in step with the disk: one top album, or all of them when `path` is null. Returns 0 or
// -1.
int PhotoShareResync(const char *path);

// Marks the album of a directory of the share as found, and creates it when there is none. Always returns -1.
int PhotoShareMarkOne(const char *sharename);

// Takes what a user chose for the album of a directory, in its attribute file: a text that begins with "1" for
// public. Returns 0, or -1 when nobody chose.
int PhotoSharePublicGet(const char *path, char *out, size_t size);

// Looks at the file system of the photo share, which decides how its directory listings are to be read.
void PhotoShareFsCheck();
