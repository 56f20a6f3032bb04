// SPDX-License-Identifier: GPL-2.0-or-later
//
// How many rows a search finds of each value of some fields.
#pragma once

#include "tools/veluctl/search/search.h"

// Returns the columns of such an answer: the fields, then how many files, and where the rows have them playing time and size. An album
// is one of an album's artist, where that is known.
[[nodiscard]] std::vector<Column> SearchGroupColumns(const Search &search,
                                                     std::vector<SearchOrderKey> *groups);

// Calls `take` for every group, in the order of the search's `sort` (fields of the groups, or of the columns behind them), else in
// that of the fields.
SearchEnd SearchGroupsRead(CatalogueReader *reader, const Search &search,
                           const std::vector<SearchOrderKey> &groups, const std::vector<Column> &columns,
                           SearchProblem *problem, const std::function<void(Row &)> &take);
