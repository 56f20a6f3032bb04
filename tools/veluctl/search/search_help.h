// SPDX-License-Identifier: GPL-2.0-or-later
//
// The language of searches for the help, the manual and the completion.
#pragma once

#include <string>
#include <vector>

#include "tools/shared/help_text.h"

std::vector<HelpList> SearchHelp();
std::vector<CommandExample> SearchExamples();

// The names of all fields.
std::vector<std::string> SearchFieldNames();

// What a word of a search may begin with: "artist=", "has:", "missing:" ...
std::vector<std::string> SearchBeginnings();
