// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names in a directory, sorted, without the hidden ones and without a change of the working directory.
#pragma once

#include <dirent.h>
#include <stddef.h>

#include <functional>
#include <string>
#include <vector>

#include "daemon/walk_rules.h"

// Every name that `wanted` is true for. False when the directory cannot be read (nothing is logged). `after`
// and `most` make portions of it: only names behind `after`, the first `most` of them.
using NameFilter = std::function<bool(const std::string &name, const dirent &entry)>;
[[nodiscard]] bool DirectoryNamesGet(const char *path, const NameFilter &wanted,
                                     std::vector<std::string> *names, const std::string &after = {},
                                     size_t most = SIZE_MAX);

// 1 when the file system of the photo share does not tell in its listings what is a directory, so that every
// entry has to be looked at.
extern int PhotoShareNeedsStat;

// The sub-directories of a directory of the photo share that the rules do not leave out, links to directories among
// them. Result and portions as above.
[[nodiscard]] bool SubDirectoriesGet(const char *path, const NameRules &rules,
                                     std::vector<std::string> *names, const std::string &after = {},
                                     size_t most = SIZE_MAX);
