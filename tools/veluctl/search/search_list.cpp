// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_list.h"

#include "tools/veluctl/row_list.h"

SearchEnd SearchList(CatalogueReader *reader, const Options &options, const SearchAsked &asked,
                     const char *front, SearchProblem *problem, size_t *count) {
    RowList list(reader, asked.search.targets, options.form(), front);
    const SearchEnd end =
        SearchRowsRead(reader, asked.search, list.names(), problem,
                       [&](const CatalogueTable &table, Row &row) { list.Add(table, row); });
    const bool whole = !SearchIsAnswered(end) || list.End();
    *count = list.count();
    return whole ? end : SearchEnd::unreachable;
}
