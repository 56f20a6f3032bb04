// SPDX-License-Identifier: GPL-2.0-or-later
//
// A search as a part of a statement of others: only files that it finds.
#pragma once

#include <initializer_list>
#include <string_view>

#include "tools/veluctl/search/search_asked.h"

// Reads which files are asked for, connects, and finds out whether the catalogue has facts of files. The search is in order then. What is
// wrong is told, and returned.
[[nodiscard]] ExitCode SearchWithinBegin(const Options &options, SearchAsked *asked, CatalogueReader *reader,
                                         bool *facts);

// Adds " and PATH in (...)" with what a search that is in order finds in these tables; nothing for one of everything.
void SearchWithinPut(const Search &search, std::string_view path, std::span<const char *const> tables,
                     SqlText *query);
