// SPDX-License-Identifier: GPL-2.0-or-later
//
// Goes through a tree, and tells of every directory whether it was read to its end. Links are followed by the rules of
// the trail. The depth of a tree costs neither stack nor descriptors, its breadth no memory but for the names of one
// directory.
#pragma once

#include <stddef.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "daemon/directory_names.h"
#include "daemon/directory_reader.h"
#include "daemon/walk_ignore.h"
#include "daemon/walk_rules.h"
#include "daemon/walk_trail.h"
#include "platform/limits.h"

// A path of a walk, its terminator included.
inline constexpr size_t kWalkPathSize = 4096;

struct TreeSettings {
    const NameRules *rules;
    // Null: entries in the order of the file system, a sub-directory at once. Else each directory gives first, at
    // once and sorted, the names that this is true for, then its sub-directories, sorted.
    bool (*listed)(const char *name) = nullptr;
    bool untold = false; // see DirectoryReader
    // True: a path that does not fit is cut, and what the cut path names is walked. False: an entry's path is
    // given whole, and a directory with such a path is not entered, but told as `too_long`.
    bool cut = false;
    LeftOutCounts *left_out = nullptr; // where what the rules leave out is counted, if anywhere
    bool tells_ignored = false; // entries that a file of patterns names are told as left, like directories
};

enum class TreeEvent {
    entered, // the directory `path`; what is in it follows
    entry, // `path`, of the kind `kind`: anything but a directory. With `error` it could not be looked at, or its path
    // was cut. Where names are listed, there are only entries with an error
    listed, // `names` of the directory `path`
    left,   // the directory `path`, with all below it, or one that was not entered: `end`, `error`, `whole`
    done,
};

enum class PlaceEnd {
    read,       // to its end
    left_out,   // by the rules, or by those of the trail: nothing in it belongs to the tree
    gone,       // it is not there, or not any more, or another directory is in its place
    unopened,   // it could not be opened
    broken_off, // it could not be read on
    too_long,   // its path does not fit
};

struct TreeCursor {
    TreeSettings settings;

    // What the last event is about.
    std::string path;
    EntryKind kind = EntryKind::other;
    std::vector<std::string> names = {};
    PlaceEnd end = PlaceEnd::read;
    int error = 0;                  // why it was not read to its end, or not looked at
    LeftOut why = LeftOut::nothing; // the rules leave out what was left; nothing: they do not
    bool whole = true;              // the directory and all below it was read to its end, or is left out

    // Where the walk stands.
    struct Level {
        DirectoryReader reader;
        size_t path_length; // of the directory in `path`
        bool whole = true;  // of what was walked so far
        bool listed = false;
        std::vector<SubDirectory> below = {}; // the present portion
        size_t next = 0;                      // index in `below`
        size_t portion = kResyncFirstPortion; // how many the next one has at most
        bool more = true;                     // there may be a next one
    };
    bool begun = false;
    std::vector<Level> levels = {}; // the innermost last
    WalkTrail trail = {};           // a step for each level
    IgnoreRules ignore = {};        // of the levels, and of what is above the tree
};

// Makes a cursor that goes through the tree at `path`, unless the rules leave that out for what is above it; slashes at its end do not count.
TreeCursor TreeBegin(const char *path, const TreeSettings &settings);

// Goes on to the next event and returns it. What the cursor tells of it holds until the next call.
TreeEvent TreeNext(TreeCursor *cursor);

// Leaves the directory that was entered with the last event without reading it; no event tells that.
void TreeLeave(TreeCursor *cursor);

// True when the directory entered last was reached through a link, or lies below one, and is on another device than the
// directory above it.
[[nodiscard]] bool IsLinkToOtherDevice(const TreeCursor &cursor);

// True when the directory was to be read, and was not or not to its end.
[[nodiscard]] bool IsUnread(PlaceEnd end);
