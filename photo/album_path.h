// SPDX-License-Identifier: GPL-2.0-or-later
//
// Album names: the paths of directories in the photo share without the share's own.
#pragma once

#include <string>

// Returns the path of a directory as the names of albums are made from it: by the rules `complete` without slashes at its end.
std::string AlbumPathOf(const char *path);

// How deep a directory lies in the photo share.
enum AlbumLevel : int {
    kAlbumTop = 0,    // directly in the share
    kAlbumSub = 1,    // in a top album
    kAlbumDeeper = 2, // not an album; neither is the share itself
};

AlbumLevel PhotoShareLevelGet(const char *path);

// Returns the name of the album of a directory, within its path: what follows the share's path and "/" (BelowPhotoShare). Empty
// for a shorter path.
const char *AlbumNameOf(const char *path);

// Returns 1 for the path of the share itself (IsPhotoShare).
int IsPhotoShareRoot(const char *path);
