// SPDX-License-Identifier: GPL-2.0-or-later
//
// Genres as people read them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the name of ID3v1's number, empty when it has none.
std::string GenreName(unsigned number);

// Returns what a genre of any tag means: "17" and "(17)" are names, everything else is as written.
std::vector<std::string> GenresOf(std::string_view text);

// Returns what one value of an ID3v2 genre means: numbers and RX, CR in parentheses, a name behind them, "((" for a
// name that begins with a parenthesis (id3.org 2.3.0, section 4.2.1); 2.4's numbers and RX, CR without.
std::vector<std::string> GenresOfId3(std::string_view text);
