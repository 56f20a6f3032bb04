// SPDX-License-Identifier: GPL-2.0-or-later
//
// A command: what it does, what it takes, and how it is explained.
#pragma once

#include <vector>

#include "tools/shared/command_table.h"
#include "tools/shared/help_text.h"
#include "tools/veluctl/commands.h"

struct ProgramCommand {
    const char *name;
    const char *group; // of commands, in the help
    const char *description;
    Command run;
    CommandLine line;
    std::vector<HelpList> details = {}; // of what stands on the line
    std::vector<CommandExample> examples = {};
};
