// SPDX-License-Identifier: GPL-2.0-or-later
//
// The command line: the one table of commands and options, from which help, manual and completion are made.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "tools/veluctl/commands.h"

// Adds all commands to `app`. Parsing sets `options` and then calls `chosen` with the function of the command.
void CommandLineMake(CLI::App *app, Options *options, const std::function<void(Command)> &chosen);
