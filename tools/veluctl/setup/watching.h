// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether what changes at a place comes to the catalogue by itself.
#pragma once

#include <string>
#include <vector>

// Who looks after a place.
struct Watching {
    bool in_share = false;
    bool watcher = false;   // one runs
    std::string place = {}; // that it watches, and that holds the one that was asked about; empty: none
    double settle = 0;      // seconds that it waits for more to happen; 0: not known
    std::string gaps = {};  // why not all directories could be watched; empty: all are
};

// Says it of a path that begins with a slash.
Watching WatchingLook(const std::string &path);

struct Unwatched {
    std::string text;
    std::string command; // that changes it; empty: none does
};

// Returns what is to be said of folders whose later changes nobody would notice: of those in shares, and of others. Nothing is said of
// those that are watched.
std::vector<Unwatched> UnwatchedTell(const std::vector<std::string> &folders);
