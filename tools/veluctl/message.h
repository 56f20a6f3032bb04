// SPDX-License-Identifier: GPL-2.0-or-later
//
// What veluctl says beside its answers, on standard error.
#pragma once

#include <string>
#include <string_view>

#include "tools/veluctl/exit_code.h"

// Prints "veluctl: " and the text, and returns the code.
ExitCode Complain(ExitCode code, const std::string &text);

// Prints a command on a line of its own, as it is copied.
void CommandTell(const std::string &command);

// Returns a path as it stands in a sentence.
std::string Quoted(std::string_view path);

// Returns "1 file", "2 files": the plural of `one` is made with an s.
std::string Counted(long long count, const char *one);
