// SPDX-License-Identifier: GPL-2.0-or-later
//
// Albums: the directories of the photo share down to one level below the top, as rows of photo_share.
#pragma once

// Creates (op 1) or deletes (op 2) the album of a directory. Returns 0 or -1.
int PhotoShareUpdate(const char *path, int op);

// Creates the albums of a new directory and of its sub-directories. Returns 0 or -1.
int PhotoShareTreeAdd(const char *path);

// Follows the rename of a directory. Returns 0 or -1.
int PhotoShareRename(const char *new_path, const char *old_path);

// Brings the albums in step with the disk: one top album, or all of them when `path` is null. Returns 0 or
// -1.
int PhotoShareResync(const char *path);

// Looks at the file system of the photo share, which decides how its directory listings are to be read.
void PhotoShareFsCheck();
