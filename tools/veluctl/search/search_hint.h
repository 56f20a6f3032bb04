// SPDX-License-Identifier: GPL-2.0-or-later
//
// What may have been meant by a search that finds nothing.
#pragma once

#include "tools/veluctl/search/search_asked.h"

// Ends the list of what a search has found as ListEnd does (query_rows.h). Where it is empty, people are told what they may have meant.
ExitCode SearchListEnd(CatalogueReader *reader, const SearchAsked &asked, const Options &options,
                       size_t rows);
