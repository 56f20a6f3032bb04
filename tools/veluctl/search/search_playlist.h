// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a search finds as a playlist.
#pragma once

#include <stdio.h>

#include "tools/veluctl/search/search.h"

// Writes the songs and films that are found, and tells how many a playlist has no place for.
SearchEnd PlaylistFound(CatalogueReader *reader, const Search &search, FILE *out, SearchProblem *problem,
                        size_t *count);
