// SPDX-License-Identifier: GPL-2.0-or-later
//
// Texts as words of a shell's command line, for commands that people are told to run.
#pragma once

#include <string>
#include <string_view>

// Returns a text as one word for bash: as it is where it may stand so, else in quotes, and where a terminal must not get it as it
// is, with its bytes written out ($'...').
std::string ShellWord(std::string_view text);
