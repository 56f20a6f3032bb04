// SPDX-License-Identifier: GPL-2.0-or-later
//
// The command line: the one table of commands and options, from which help, manual and completion are made.
#pragma once

#include <vector>

#include "tools/veluctl/program_command.h"

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
