// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is wrong with a search, and where.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

// Bytes of what was typed.
struct SearchPlace {
    size_t at = 0;
    size_t length = 0;
};

struct SearchProblem {
    std::string what;
    SearchPlace place;
};

// Notes a problem. False, for those who return it.
bool SearchWrong(SearchProblem *problem, std::string what, SearchPlace place);

// Returns two lines for people, the text and a mark under the place, within so many columns: of a longer text the part around the
// place is shown.
std::string SearchMark(std::string_view text, SearchPlace place, size_t columns);
