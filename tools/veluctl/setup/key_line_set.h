// SPDX-License-Identifier: GPL-2.0-or-later
//
// Giving a key of a configuration file a value.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

// Returns the text of a file with `line` in the place of its line of that number, counted from 1; with 0 behind all others.
std::string LineSet(std::string_view text, size_t number, std::string_view line);

// Gives the key a value: its line that counts is replaced, or one is added; all others stay. The file is replaced as a whole, and made
// where there is none. Returns an empty text, or why it could not be done.
std::string KeyLineSet(const std::string &file, std::string_view key, std::string_view value);
