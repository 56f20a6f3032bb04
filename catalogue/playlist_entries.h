// SPDX-License-Identifier: GPL-2.0-or-later
//
// The entries of a playlist in the catalogue.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "platform/index/file_state.h"
#include "reader/protocol/entry_list.h"

// The texts are the list's own or those in `names`.
struct EntryRows {
    std::vector<FileEntry> entries;
    std::deque<std::string> names; // which never move
};

// Returns what is kept of the entries that a reader has found. Which files they mean is told at the end of the run.
EntryRows EntryRowsOf(const EntryList &list);

// Finds the files of all entries that are to be looked at: of playlists that were read, and of any whose file has come, gone or
// moved. To be called at the end of a run by the rules `complete`, when the names of files are folded (FileNamesFold). Returns 0,
// or -1 with a log line; what could not be stored then stays to be looked at.
int PlaylistsResolve();
