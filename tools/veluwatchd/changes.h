// SPDX-License-Identifier: GPL-2.0-or-later
//
// What has happened in the shares and is not queued yet.
//
// For each path this keeps what its row may have been and what happened, not the course of events. Which
// request follows from that is decided when the changes have come to rest, by what is on the disk then
// (request_plan): the daemon, too, looks at the disk only when it carries a request out, and whatever happens
// later is a change of its own.
#pragma once

#include <stdint.h>

#include <chrono>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/veluwatchd/path_order.h"

using WatchTime = std::chrono::steady_clock::time_point;

// What is known of a path; any of these together.
enum ChangeFlag : uint8_t {
    kFileTouched = 1, // a file has come or has changed
    kFileOpen = 2,    // it was created and has not been closed since
    kFileNew = 4,     // nothing was known of the path before that
    kFileGone = 8,    // there was a file, whose row may be there
    kTreeCame = 16,   // a directory has come, with what is in it
    kTreeGone = 32    // there was a directory, of which rows may be there
};

inline constexpr uint8_t kGone = kFileGone | kTreeGone;

struct Change {
    uint8_t flags = 0;
    WatchTime touched;
};

using ChangeMap = std::map<std::string, Change, PathLess>;

struct Rename {
    std::string new_path;
    std::string old_path;
    bool directory = false;
};

// Requests that the daemon has not carried out yet, as the changes that they stand for. It looks at the disk when it
// does: a tree to be removed that is back by then is not removed, a file that was renamed by then is not found,
// and a directory that has left its new name again is not taken for one.
struct Asked {
    std::map<std::string, uint8_t, PathLess> paths;
    std::vector<Rename> renames; // of directories
    bool lost = false;           // there were too many: anything may be asked
};

struct Changes {
    ChangeMap paths;
    // Renames that rows follow, in their order: those within the photo library, with titles, comments and albums, and where
    // `rows_move` all others. They are asked for in front of everything in `paths`.
    std::vector<Rename> renames;
    std::set<std::string> reindex; // trees of which changes were missed
    Asked asked;
    bool photo_library = false; // whether there is one
    bool rows_move = false;     // the daemon's rules keep the rows of what is renamed anywhere

    [[nodiscard]] bool empty() const { return paths.empty() && renames.empty() && reindex.empty(); }
    [[nodiscard]] size_t size() const { return paths.size() + renames.size(); }
};

void FileCreated(Changes *changes, const std::string &path, WatchTime now);
void FileTouched(Changes *changes, const std::string &path, WatchTime now);
void FileGone(Changes *changes, const std::string &path, WatchTime now);
void FileMoved(Changes *changes, const Rename &move, WatchTime now);
void TreeCame(Changes *changes, const std::string &path, WatchTime now);
void TreeGone(Changes *changes, const std::string &path, WatchTime now);
void TreeMoved(Changes *changes, const Rename &move, WatchTime now);

// Notes a rename as a removal and an addition: the old name has gone, and the new one has come.
void RenameSplit(Changes *changes, const Rename &move, WatchTime now);

// Notes that changes of the tree were missed: it is to be indexed anew, whatever is known of it.
void TreeMissed(Changes *changes, const std::string &path);

// Notes that the tree is away (an unmounted volume) and drops what was about to be asked of it: the daemon
// would find nothing there and take its rows away.
void TreeAway(Changes *changes, const std::string &path, WatchTime now);
