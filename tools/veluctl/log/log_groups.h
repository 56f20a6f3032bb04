// SPDX-License-Identifier: GPL-2.0-or-later
//
// Lines that say the same of different files.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/log/logged_line.h"

struct LogGroup {
    std::string text; // with "..." in the place of what differs; that of the line when there is one alone
    std::vector<size_t> lines = {}; // where they stand
};

// A line in parts: what it says, and of what.
struct LogParts {
    std::string says;  // with "..." for a path, and "N" for a number
    std::string about; // the path; empty: it names none
};

LogParts LogPartsOf(const std::string &text);

// Puts the lines into groups, those with the first line first.
std::vector<LogGroup> LogGroupsOf(const std::vector<LoggedLine> &lines);
