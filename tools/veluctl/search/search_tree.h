// SPDX-License-Identifier: GPL-2.0-or-later
//
// A search as a tree, made of what was typed:
//
//     love -live artist="Nina Simone" year=1960..1969 or title~"feeling good"
//
// Words and fields that stand side by side all have to hold; `or` parts such groups. A `-` in front means not.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/search/search_node.h"

// Whether a node asks for a kind of rows.
bool SearchIsKind(const SearchNode &node);

// Returns the words of a command line as one text, in which places of problems are.
std::string SearchTextOf(const std::vector<std::string> &arguments);

// Makes a tree of these words. In one argument the words behind a field of text belong to its value, so that what a shell has
// taken the quotes from (artist="Nina Simone") means what it says. False, with what is wrong, if it means nothing.
[[nodiscard]] bool SearchParse(const std::vector<std::string> &arguments, SearchNode *tree,
                               SearchProblem *problem);
