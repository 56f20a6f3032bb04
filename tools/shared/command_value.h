// SPDX-License-Identifier: GPL-2.0-or-later
//
// The values of options and arguments.
#pragma once

#include <string>
#include <vector>

#include "tools/shared/command_table.h"

// True for an argument or an option that takes any number of values.
bool TakesMany(const CommandTarget &target);

// Puts the value of what is called `name` into its place. Returns what is wrong with it, or nothing.
std::string ValueTake(const CommandTarget &target, const std::string &name, const char *value,
                      const std::vector<const char *> &words);

// Returns the type with the words that a value is one of: "SHARE:{music,video}".
std::string TypeText(const char *type, const std::vector<const char *> &words);
