// SPDX-License-Identifier: GPL-2.0-or-later
//
// A search as a part of a statement of others: only files that it finds.
#pragma once

#include <initializer_list>
#include <string_view>

#include "tools/veluctl/search/search.h"

// Returns what is wrong with a search, so that nothing need be said later.
SearchEnd SearchWithinCheck(const Search &search, SearchProblem *problem);

// Adds " and PATH in (...)" with what a search that is in order finds in these tables; nothing for one of everything.
void SearchWithinPut(const Search &search, std::string_view path, std::span<const char *const> tables,
                     SqlText *query);
