// SPDX-License-Identifier: GPL-2.0-or-later
//
// Watching directories: the kernel's watches, the tree that they make, and what has to be done about those that
// cannot be had.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/handle.h"
#include "tools/queue/watcher_state.h"
#include "tools/veluwatchd/changes.h"
#include "tools/veluwatchd/watch_rules.h"
#include "tools/veluwatchd/watch_tree.h"

struct Watcher {
    FdHandle inotify;
    WatchTree tree;
    Changes changes;
    // Doubtful directories: when their turn came, their names led nowhere or to another directory, because
    // the disk had changed since the event. They are looked at again when all events are read.
    std::vector<NodeId> doubtful;
    // Directories that cannot be watched, with all below them. They are indexed anew from time to time.
    std::set<NodeId> unwatched;
    // Directories whose file system was unmounted: just now, and those that are to come back.
    std::vector<NodeId> unmounting;
    std::set<NodeId> unmounted;
    // Directories below one link that another link leads to a second time.
    std::set<NodeId> entered_again;
    // What is left out of them, and those in which that has changed, or that have come where it is something else.
    WatchRules rules;
    std::set<NodeId> rules_changed;
    bool limit_told = false;
    WatcherState state; // as far as it is no count: what has gone wrong
};

// Makes the kernel's side anew. False, with the reason in errno.
[[nodiscard]] bool WatcherOpen(Watcher *watcher);

// Forgets all directories and their watches.
void WatcherClose(Watcher *watcher);

// Watches a directory with all below it. Each is watched before it is read: what comes later is an event.
void TreeWatch(Watcher *watcher, NodeId top);

// Takes a directory that is gone, with all below it, out of the tree.
void TreeForget(Watcher *watcher, NodeId top);

// Notes what has gone wrong, of which the log tells more.
void FaultNote(Watcher *watcher, WatchFault fault);

// Gives a directory the watch of what its name leads to now.
void NodeVerify(Watcher *watcher, NodeId node);

// Compares the doubtful directories with the disk. To be called when all events are read.
void DoubtfulVerify(Watcher *watcher);

// Watches directories anew whose rules have changed, and has them indexed anew. To be called when all events are read.
void RulesSettle(Watcher *watcher);

// Stops watching what was unmounted, without taking it for removed. To be called when all events are read.
void UnmountedSettle(Watcher *watcher);

// Waits for the volume of a directory in the tree of `root`, which is away since before the directory was watched.
void TreeUnmounted(Watcher *watcher, NodeId root, const std::string &path);

// Watches what has been mounted again, and has it indexed anew. An empty directory on which nothing is mounted is taken for
// the mount point of a volume that is still away.
void UnmountedRetry(Watcher *watcher);

// True for an empty directory, and for what is no directory or cannot be read.
[[nodiscard]] bool IsEmptyDirectory(const std::string &path);

// Tries again to watch what could not be watched, and has all of it indexed anew.
void UnwatchedRetry(Watcher *watcher);
