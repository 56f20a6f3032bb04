// SPDX-License-Identifier: GPL-2.0-or-later
//
// The directories that the watcher is for, which come and go: a link is set to another volume, a volume is unmounted.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/veluwatchd/watcher.h"

struct Share {
    std::string link; // of /var/services; none: the path was given
    std::string word; // by which the request "R" knows it; none: it has no such word
    std::string path; // where it is
    NodeId node = kNoNode;
    dev_t device = 0;
    ino_t inode = 0;
    bool seen = false;      // it has been watched before
    bool missed = false;    // it was away at the start
    bool told_away = false; // that it is not there
};

// Makes the list of what is watched: the three shares of the appliance, or the directories that were given.
std::vector<Share> SharesMake(const std::vector<std::string> &paths);

// Watches shares that have come, and lets go of those that are away. What is away keeps its rows: nobody has
// removed a file from it. When it is back it is indexed anew, as nobody knows what has happened to it, also when it was
// away at the start; a share whose link was not made yet is as if the start were later. `start` is true for the first
// look after the program's start: what is there then is no news.
void SharesCheck(std::vector<Share> *shares, Watcher *watcher, bool start);

// Has all shares indexed anew.
void SharesReindex(const std::vector<Share> &shares, Watcher *watcher);

// Returns the word of the share that begins at this path; nothing when none does.
std::optional<std::string> ShareWord(const std::vector<Share> &shares, const std::string &path);
