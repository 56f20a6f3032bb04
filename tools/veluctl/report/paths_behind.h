// SPDX-License-Identifier: GPL-2.0-or-later
//
// The files behind a number of the page.
#pragma once

#include <stdint.h>

#include <string>

#include "tools/veluctl/overview/tally.h"
#include "tools/veluctl/report/open_list.h"

inline constexpr size_t kPathsShown = 20; // of a list: enough to see what it is about

// Which files they are: rows of a table (with what is joined to it) that a condition holds for.
struct FilesBehind {
    std::string table;
    std::string condition;
    std::string command; // that lists them
};

// Returns a list of some of them, in the order of their paths, which opens at `summary`. No number, no list.
OpenList PathsTake(TallyReader *tallies, const std::string &summary, int64_t in_all,
                   const FilesBehind &files);
