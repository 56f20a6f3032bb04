// SPDX-License-Identifier: GPL-2.0-or-later
//
// A search, ready to be asked: which rows of which tables, in which order, how many.
#pragma once

#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/search/search_order.h"
#include "tools/veluctl/search/search_tree.h"

struct Search {
    SearchNode tree;
    std::vector<SearchTarget> targets; // of one catalogue
    std::string directory;             // only what it holds; empty: all
    std::vector<SearchOrderKey> sort;  // none: by kind and key
    size_t limit = SIZE_MAX;

    // No words: every row there is, in the directory.
    [[nodiscard]] bool IsEverything() const {
        return tree.kind == SearchNode::Kind::all_of && tree.parts.empty();
    }
};

// Adds " from TABLE where ...", with what SearchJoinsPut joins. False, with what is wrong.
[[nodiscard]] bool SearchRowsPut(const Search &search, const SearchTarget &target,
                                 const std::vector<SearchOrderKey> &joined, bool each_value, SqlText *query,
                                 SearchProblem *problem);

enum class SearchEnd {
    done,
    wrong,       // the search, with the reason in the problem
    wrong_sort,  // likewise
    wrong_group, // likewise
    unreachable, // the catalogue, with the reason in the reader
};

// Counts what is found, whatever the search's limit.
SearchEnd SearchCount(CatalogueReader *reader, const Search &search, int64_t *count, SearchProblem *problem);

// Calls `take` with the values of `columns` (names of each target's table) for every row found.
SearchEnd SearchRowsRead(CatalogueReader *reader, const Search &search,
                         const std::vector<const char *> &columns, SearchProblem *problem,
                         const std::function<void(const CatalogueTable &, Row &)> &take);
