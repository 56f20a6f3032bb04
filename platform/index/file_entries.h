// SPDX-License-Identifier: GPL-2.0-or-later
//
// Entries of playlists that are to be looked at: the database marks those whose file has come, gone or moved since, and those of a
// playlist that was read, or has moved. Operations return 0, or -1 with a log line.
#pragma once

#include <stdint.h>

#include <span>
#include <string>
#include <vector>

struct UnresolvedEntry {
    int64_t file = 0; // of the playlist
    int position = 0;
    std::string target;
    std::string written; // its bytes, when its text was in another encoding; else empty
    std::string list;    // the playlist's path
};

// Behind which entry the next ones come.
struct EntryPlace {
    std::string folded_name;
    int64_t file = 0;
    int position = 0;
};

// True when there are such entries, in a run that has asked the media catalogue for something.
[[nodiscard]] bool EntriesAreUnresolved();

// Reads some of them, and steps behind them; none at the end. What other programs change of them meanwhile comes behind the
// present writes that belong together.
int EntriesUnresolvedRead(EntryPlace *place, std::vector<UnresolvedEntry> *entries);

struct NamedFile {
    std::string path;
    std::string folded_name;
};

// Adds the files of some folded names; `whole` becomes false for one that has more than kPlaylistFilesMax, of which none
// are added.
int FilesNamedRead(std::span<const std::string> folded_names, std::vector<NamedFile> *files, bool *whole);

struct ResolvedEntry {
    int64_t file = 0;
    int position = 0;
    std::string found;       // the path of the file that is meant; empty: none is there
    std::string folded_name; // by which it comes and goes
};

int EntriesResolve(std::span<const ResolvedEntry> entries);
