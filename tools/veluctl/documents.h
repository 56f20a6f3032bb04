// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is written about the command line from its own table.
#pragma once

#include <string>

#include "tools/veluctl/command_line.h"

std::string ProgramHelp(const Program &program);
std::string CommandHelp(const Program &program, const ProgramCommand &command);

// Returns veluctl(1) as man(7) takes it.
std::string ManualPage(const Program &program);

// Return a completion for a shell.
std::string BashCompletion(const Program &program);
std::string ZshCompletion(const Program &program);
std::string FishCompletion(const Program &program);
