// SPDX-License-Identifier: GPL-2.0-or-later
//
// The command line of veluwatchd.
#pragma once

#include <string>
#include <vector>

#include "tools/shared/program_line.h"
#include "tools/veluwatchd/bounds.h"

struct WatchOptions {
    std::vector<std::string> paths;
    double settle = kSettleSeconds;
    double check = kCheckSeconds;
    double rescan = kRescanSeconds;
    bool reindex_at_start = false;
    bool catch_up = false; // where the rules let files be that have not changed
};

// Prints the help or what is wrong, if anything.
ProgramLine OptionsRead(int argc, char **argv, WatchOptions *options);
