// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the indexer of playlists takes from one. Their content is not read: the row says that the playlist is there.
#pragma once

struct MediaInfo;

// An IndexReader: size and times, these in the form of ctime(). Silently refuses what is no regular file.
int PlaylistRead(const char *path, MediaInfo *record);
