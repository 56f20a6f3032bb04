// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a sub-album takes over from its album.
#pragma once

// Gives the sub-album "album/name" the album's public flag and, when the album is not public, its rights.
// Returns 0 or -1.
int VELUPhotoShareSubDirUpdatePrivilege(const char *sub_album);

// Copies the rights on an album to another. Returns 0 or -1.
int VELUPhotoShareSubDirPrivilegeAdd(const char *sub_album, const char *parent_album);
