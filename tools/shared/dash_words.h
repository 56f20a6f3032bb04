// SPDX-License-Identifier: GPL-2.0-or-later
//
// Command lines on which a word may begin with a dash and be no option: "find love -live".
#pragma once

#include <vector>

#include "tools/shared/command_table.h"

// Whether a line has an argument that takes such words.
bool DashesAreWords(const CommandLine &line);

// Returns the words of a command line with the options in front and all others behind "--", in their order. An option of one letter
// has its value in the next word, or a number or absolute path right behind it. An option at the end that lacks its value ends the line
// there, too, so that it is missed.
std::vector<char *> WithWordsBehind(const CommandLine &line, const std::vector<char *> &words);
