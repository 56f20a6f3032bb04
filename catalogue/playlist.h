// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the indexer of playlists takes from one by the appliance's rules. Their content is not read: the row says that the
// playlist is there.
#pragma once

struct MediaInfo;

// Adds size and times, these in the form of ctime(), to a record (an IndexReader). Refuses what is no regular
// file, without a log line.
int PlaylistRead(const char *path, MediaInfo *record);
