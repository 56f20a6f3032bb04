// SPDX-License-Identifier: GPL-2.0-or-later
//
// The command line of a program without commands.
#pragma once

#include "tools/shared/command_line.h"
#include "tools/shared/help_text.h"

enum class ProgramLine { run, done, wrong };

// Reads the line, and prints the help where it is asked for (then: done), or on standard error what is wrong.
ProgramLine ProgramLineRead(const HelpHead &head, const CommandLine &line, int argc, char **argv);

// Prints on standard error what is wrong with a line that was read.
ProgramLine ProgramLineWrong(const HelpHead &head, const std::string &what);
