// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tree walker: feeds every entry of a tree to the media catalogue and, for the photo share, to the photo
// library.
#pragma once

// What a walk is for, as a bit mask. With kIndexReindex only the values kWalkMedia, kWalkMusicShare and
// kWalkVideoShare are allowed, one at a time.
enum WalkMask : int { kWalkMedia = 1, kWalkPhotoLibrary = 2, kWalkMusicShare = 4, kWalkVideoShare = 8 };

// Walks a file or a whole tree with a mode of IndexMode. Removing reads nothing from disk; re-indexing takes
// a null path. Recycle bins and attribute directories ("@eaDir") are left out; links are followed, but not
// into a directory that the walk is in already. Entries come in the order of the file system, a subdirectory
// at once. Returns 0, or -1 on a bad call; failures on the way are logged and the walk goes on.
int IndexDirWalk(const char *path, int mode, int mask);

// Takes the share behind a link anew, as TreeReindex does a tree.
void ShareReindex(const char *link);
