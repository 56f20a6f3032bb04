// SPDX-License-Identifier: GPL-2.0-or-later
//
// Directories in the photo share.
#pragma once

#include <string>
#include <vector>

#include "daemon/walk_rules.h"

// 1 when the file system of the photo share does not tell in its listings what is a directory, so that every
// entry has to be looked at.
extern int PhotoShareNeedsStat;

// Gets the names of the sub-directories of a directory that the rules do not leave out, links to directories among them,
// sorted. `unseen`, when it is given, receives the names of what could not be looked at. False, with errno, when the
// directory cannot be read to its end (nothing is logged); what was read of it is there.
[[nodiscard]] bool SubDirectoriesGet(const char *path, const NameRules &rules,
                                     std::vector<std::string> *names,
                                     std::vector<std::string> *unseen = nullptr);
