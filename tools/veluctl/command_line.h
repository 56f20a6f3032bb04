// SPDX-License-Identifier: GPL-2.0-or-later
//
// The command line: the one table of commands and options, from which help, manual and completion are made.
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

struct Program {
    const char *name;
    const char *description;
    CommandLine line; // in front of the command
    std::vector<ProgramCommand> commands;
};

// What stands in front of the command.
struct ProgramOptions {
    bool version = false;
    bool manual = false;
    bool completion = false;
    bool completion_zsh = false;
    bool completion_fish = false;
};

// Makes the table of commands and options. Reading a command line by it fills `asked` and `options`, which
// must outlive it.
Program ProgramMake(ProgramOptions *asked, Options *options);
