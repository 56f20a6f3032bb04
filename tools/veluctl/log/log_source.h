// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where the daemon's lines are: the journal where there is one, else the file of rsyslog's.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/log/logged_line.h"

struct LogAnswer {
    std::vector<LoggedLine> lines; // in their order
    std::string source;            // in words; empty: neither can be read
    std::string problem;           // why
};

// Reads the lines between two moments, in seconds of the epoch, both included.
LogAnswer LogRead(int64_t from, int64_t to);
