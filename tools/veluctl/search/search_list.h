// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a search finds as a list.
#pragma once

#include "tools/veluctl/search/search_asked.h"

// Whether there is an answer, be it a part of one.
inline bool SearchIsAnswered(SearchEnd end) {
    return end == SearchEnd::done || end == SearchEnd::unreachable;
}

// Prints the rows. `front`: a column that comes first (listed_file.h); none: null.
SearchEnd SearchList(CatalogueReader *reader, const Options &options, const SearchAsked &asked,
                     const char *front, SearchProblem *problem, size_t *count);
