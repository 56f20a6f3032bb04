// SPDX-License-Identifier: GPL-2.0-or-later
//
// The manual page and the completion, both made from the command line's own table.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

// veluctl(1) as man(7) takes it.
std::string ManualPage(const CLI::App &app);

// A completion for bash.
std::string BashCompletion(const CLI::App &app);

// The list of exit codes under the help.
std::string ExitCodesHelp();

// The words that an option takes, when it takes only certain ones.
std::vector<std::string> OptionWords(const CLI::Option &option);

// The commands in the order of their making.
std::vector<const CLI::App *> CommandsOf(const CLI::App &app);
