// SPDX-License-Identifier: GPL-2.0-or-later
//
// The configuration as its readers find it.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/row.h"

// A key with what holds of it, or a line that is wrong.
struct ConfigurationFinding {
    bool is_key = false; // of the table; else it is a line or a file
    Value key;           // that of the line; none: the line or the file has none
    Value value;         // without passwords; none: not known, or nobody's
    std::string source;  // FILE:LINE, FILE or "default"
    Value problem;       // none: nothing is wrong
};

// Returns a finding for every key in the order of the table, then the lines that are wrong, by file and line.
std::vector<ConfigurationFinding> ConfigurationLook();
