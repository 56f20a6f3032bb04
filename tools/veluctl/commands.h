// SPDX-License-Identifier: GPL-2.0-or-later
//
// The commands, one function each. They print their answer on standard output, complaints on standard error,
// and return what the program ends with. command_line.cpp says how they are called. Those that ask for work stand
// in the table of requests.h.
#pragma once

#include "tools/veluctl/exit_code.h"
#include "tools/veluctl/options.h"

using Command = ExitCode (*)(const Options &options);

ExitCode StatusCommand(const Options &options);
ExitCode LogCommand(const Options &options);
ExitCode ListCommand(const Options &options);
std::vector<const char *> ListedWords(); // what it is asked for
ExitCode FindCommand(const Options &options);
ExitCode ShowCommand(const Options &options);
ExitCode DumpCommand(const Options &options);
ExitCode CheckCommand(const Options &options);
ExitCode ConfigCommand(const Options &options);
ExitCode ExportCommand(const Options &options);
std::vector<const char *> ExportForms(); // what it writes
ExitCode ReportCommand(const Options &options);
ExitCode WhyCommand(const Options &options);
ExitCode RecentCommand(const Options &options);
ExitCode MissingCommand(const Options &options);
std::vector<const char *> MissingWords(); // what it is asked for
ExitCode DuplicatesCommand(const Options &options);
std::vector<const char *> DuplicateWords(); // what it is asked for
ExitCode StatsCommand(const Options &options);
ExitCode ForgetCommand(const Options &options);
ExitCode ShareCommand(const Options &options);
ExitCode FeatureCommand(const Options &options);
ExitCode HelpCommand(const Options &options);
