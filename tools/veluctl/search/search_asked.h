// SPDX-License-Identifier: GPL-2.0-or-later
//
// A search as a command line asks for it: its words, and the options that all commands have that search.
#pragma once

#include "tools/veluctl/exit_code.h"
#include "tools/veluctl/options.h"
#include "tools/veluctl/search/search.h"

struct SearchAsked {
    std::vector<const CatalogueTable *> tables; // whose rows may be meant
    Search search;
    std::vector<SearchOrderKey> groups;
    std::string text; // of the words, in which places of problems are
};

// Reads what is asked for; no words ask for every row. A playlist is of songs and films alone. What is wrong is told, and returned.
[[nodiscard]] ExitCode SearchAskedRead(const Options &options, bool playlist, SearchAsked *asked);

// The same for what is told of files alone: rows of other kinds are not meant.
[[nodiscard]] ExitCode SearchFilesAskedRead(const Options &options, SearchAsked *asked);

// Connects, and finds out what the catalogue can do. False, with the reason in the reader, when it cannot be reached.
[[nodiscard]] bool SearchAskedConnect(CatalogueReader *reader, SearchAsked *asked);

// Tells how a search ended, unless it is done. Returns what the command ends with then.
ExitCode SearchEndTell(SearchEnd end, const SearchAsked &asked, const Options &options,
                       const SearchProblem &problem, const CatalogueReader &reader);
