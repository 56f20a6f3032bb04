// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of playlists. Their content is not read: the row says that the playlist is there.
#pragma once

// Returns 0 when the row was saved, else -1. Only a regular file is indexed.
int PlaylistFileIndex(const char *path);

// Returns 0 or -1; the row of a file that still exists stays.
int PlaylistFileRemove(const char *path);
