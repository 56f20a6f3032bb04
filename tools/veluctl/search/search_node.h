// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a search is made of.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/search/search_problem.h"

enum class SearchRelation { is, holds, below, at_most, above, at_least };

struct SearchNode {
    enum class Kind {
        all_of, // of nothing: every row
        any_of,
        none_of, // of its one part
        words,   // a text anywhere
        field,
        has,
        missing,
    };
    Kind kind = Kind::all_of;
    std::vector<SearchNode> parts; // of the first three
    std::string name;              // of a field, as it was typed
    SearchRelation relation = SearchRelation::is;
    std::string value; // of a field or of words
    SearchPlace name_place = {};
    SearchPlace value_place = {};
};
