// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a program's command line, or that of one of its commands, may hold. It is read by this table, and help, manual
// and completion are made from it.
#pragma once

#include <stdint.h>

#include <string>
#include <variant>
#include <vector>

// A number of seconds within bounds.
struct SecondsTarget {
    double *seconds;
    double least;
    double most;
};

// Where a value goes. A flag has a bool; a list takes any number of values.
using CommandTarget =
    std::variant<bool *, uint32_t *, std::string *, std::vector<std::string> *, SecondsTarget>;

// Values that there are behind some of the words that a value may begin with ("cover=", "kind=").
struct ValueWords {
    std::vector<std::string> beginnings;
    std::vector<std::string> values;
};

struct CommandOption {
    char letter;      // '\0': none
    const char *name; // without dashes; null: none
    const char *type; // what it takes, as the help names it; null: nothing
    const char *description;
    CommandTarget target;
    std::vector<const char *> words = {};     // the values that there are; none: any
    const char *needs = nullptr;              // the name of an option that has to be there, too
    const char *excludes = nullptr;           // of one that must not
    std::vector<std::string> beginnings = {}; // what a value may begin with, for the completion
};

struct CommandArgument {
    const char *name;
    const char *type; // as the help names it
    const char *description;
    CommandTarget target; // a string or, as the last one, a list
    bool required = false;
    std::vector<const char *> words = {};
    std::vector<std::string> beginnings = {}; // as of an option
    // What there is behind these, made when a completion is asked for: it takes longer than the start of a program.
    std::vector<ValueWords> (*values)() = nullptr;
    bool dashes = false;                      // words that begin with one dash and are no option are values
    bool open = false;                        // other values than `words` are the command's to refuse
    const char *directories_behind = nullptr; // this word of the argument before makes directories of these
};

struct CommandLine {
    std::vector<CommandOption> options; // the help, kHelpOption, is the first
    std::vector<CommandArgument> arguments;
};

// A flag that ends the reading.
inline const CommandOption kHelpOption = {'h', "help", nullptr, "Print this help message and exit",
                                          static_cast<bool *>(nullptr)};
