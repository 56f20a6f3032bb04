// SPDX-License-Identifier: GPL-2.0-or-later
//
// The help of a program or a command, from its table.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tools/shared/command_table.h"

// What a terminal has, as a rule: help is made for no one in particular.
inline constexpr size_t kHelpColumns = 80;

// A headed list of names and what they mean.
struct HelpList {
    std::string heading;
    std::vector<std::pair<std::string, std::string>> entries;
};

struct CommandExample {
    const char *line; // as it is typed in a shell
    const char *meaning;
};

struct HelpHead {
    const char *description;
    std::string name;   // as it is called
    const char *behind; // in the line of usage, behind the options
};

// Returns the help of a program or command. `more` and `footer` stand behind the options.
std::string HelpText(const HelpHead &head, const CommandLine &line, const std::vector<HelpList> &more,
                     const std::string &footer);
