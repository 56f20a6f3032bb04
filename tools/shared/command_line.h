// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reads a command line by its table, with the C library's getopt_long.
#pragma once

#include <string>
#include <string_view>

#include "tools/shared/command_table.h"

enum class CommandLineResult {
    done,
    help, // it was asked for: what stands behind was not looked at
    wrong,
};

// Reads argv[1] and what follows. Options and arguments may be mixed; behind "--" all are arguments, and names are
// not shortened. `*error` becomes a sentence when something is wrong.
CommandLineResult CommandLineRead(const CommandLine &line, int argc, char **argv, std::string *error);

// Reads the options in front of a command's name, whose place goes to `*command`: `argc` when there is none.
CommandLineResult CommandLineReadToCommand(const CommandLine &line, int argc, char **argv, int *command,
                                           std::string *error);

// Returns the sentence about a word that the table has no place for.
std::string NotExpected(std::string_view word);

// Returns the option's name with its dashes: the long one, if there is one.
std::string NameOf(const CommandOption &option);
