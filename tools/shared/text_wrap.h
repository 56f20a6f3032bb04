// SPDX-License-Identifier: GPL-2.0-or-later
//
// Sentences on lines of bounded length.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>
#include <vector>

// Returns the text in lines of at most `columns` characters, broken at single blanks; a longer word has a
// line of its own. The text is ASCII.
std::vector<std::string> TextWrap(std::string_view text, size_t columns);
