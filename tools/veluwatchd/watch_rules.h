// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the daemon's walk leaves out of watched directories: by names, and by what directories hold that says so. Nothing is
// read again until that changes.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "daemon/directory_reader.h"
#include "daemon/walk_ignore.h"
#include "tools/veluwatchd/watch_tree.h"

struct DirectoryRules {
    bool left_out = false; // all that is in it
    std::vector<IgnorePattern> patterns;
    IgnoreRules above; // of a root: what lies between it and its share
};

// Only directories that have any.
using WatchRules = std::unordered_map<NodeId, DirectoryRules>;

// Reads the rules of a directory that is open. False when all that is in it is left out.
bool DirectoryRulesRead(WatchRules *rules, const WatchTree &tree, NodeId node, const DirectoryReader &reader);

// True for an entry that the daemon's walk leaves out. `path` is the directory's.
[[nodiscard]] bool IsLeftOut(const WatchRules &rules, const WatchTree &tree, NodeId directory,
                             const std::string &path, std::string_view name, bool is_directory);

// True when all that is in a directory is left out.
[[nodiscard]] bool IsLeftOutWhole(const WatchRules &rules, NodeId directory);

// True when there are patterns that may name what lies in a directory.
[[nodiscard]] bool HasPatterns(const WatchRules &rules, const WatchTree &tree, NodeId directory);

// True for the name of an entry by which the walk decides what it leaves out.
[[nodiscard]] bool IsRuleName(std::string_view name);
