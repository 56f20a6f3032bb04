// SPDX-License-Identifier: GPL-2.0-or-later
//
// The words of a search, one by one.
#pragma once

#include <string>
#include <string_view>

#include "tools/veluctl/search/search_node.h"

struct SearchWord {
    bool either = false; // the word `or`
    bool negated = false;
    bool quoted = false; // a text
    SearchNode node;
    SearchPlace place;
};

// Whether a word begins with the sign that stands between a field and its value: "= X".
bool IsSignInFront(const SearchWord &word);

// Takes the next word off an argument, from `*at` on; `offset` is where the argument begins in the whole text. The word is null at
// the end. False, with what is wrong, for one that means nothing.
[[nodiscard]] bool SearchWordTake(std::string_view argument, size_t offset, size_t *at, SearchWord *word,
                                  bool *is_end, SearchProblem *problem);
