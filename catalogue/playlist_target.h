// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which files an entry of a playlist may mean. Players write paths, from the playlist's directory or from the root, in either system's
// spelling, and URLs; lists that were made on another machine have the paths of that one.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

// Returns the last component of the path that an entry names, folded for searches; empty when it names no file.
std::string TargetNameFolded(std::string_view target);

// Returns the paths that an entry of the playlist `list` may mean, the likeliest first. `shares` are the directories of all
// shares. A path of another machine means what the rest of it, less any directories in front, leads to: from a share or from
// a directory that the list is in, when that has the name of the last one that was left out, or the rest has a directory itself.
std::vector<std::string> TargetPaths(std::string_view target, std::string_view list,
                                     std::span<const std::string> shares);

// Returns the paths that an entry means by the bytes that it was written in, and when nothing in it stands for something else, neither a
// backslash for a slash nor a percent sign for a code: names of files may have these. Their last component may be another than the
// entry's.
std::vector<std::string> TargetSpellings(std::string_view target, std::string_view written,
                                         std::string_view list);
