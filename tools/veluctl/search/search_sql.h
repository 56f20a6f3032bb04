// SPDX-License-Identifier: GPL-2.0-or-later
//
// A search as a condition on the rows of a table.
#pragma once

#include "tools/veluctl/search/search_target.h"
#include "tools/veluctl/search/search_tree.h"
#include "tools/veluctl/sql_text.h"

// Whether rows of a kind may be meant at all, as far as the search speaks of kinds.
bool SearchMayMean(const SearchNode &tree, const CatalogueTable &table);

// Whether a kind is named, and not ruled out.
bool SearchNames(const SearchNode &tree, const CatalogueTable &table);

// Adds the condition behind `where`. False, with what is wrong, when the table has no such field or the field no such value.
[[nodiscard]] bool SearchConditionPut(const SearchNode &tree, const SearchTarget &target, SqlText *query,
                                      SearchProblem *problem);
