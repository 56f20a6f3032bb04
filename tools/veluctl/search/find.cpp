// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl find: rows by words and fields, as a list, in groups, or as a playlist.
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/row_list.h"
#include "tools/veluctl/search/search_asked.h"
#include "tools/veluctl/search/search_groups.h"
#include "tools/veluctl/search/search_playlist.h"

namespace {

// Whether there is an answer, be it a part of one.
bool IsAnswered(SearchEnd end) {
    return end == SearchEnd::done || end == SearchEnd::unreachable;
}

SearchEnd ListFound(CatalogueReader *reader, const Options &options, const SearchAsked &asked,
                    SearchProblem *problem, size_t *count) {
    RowList list(asked.tables, options.form());
    const SearchEnd end =
        SearchRowsRead(reader, asked.search, list.names(), problem,
                       [&](const CatalogueTable &table, Row &row) { list.Add(table, row); });
    if (IsAnswered(end))
        list.End();
    *count = list.count();
    return end;
}

SearchEnd GroupsFound(CatalogueReader *reader, const Options &options, SearchAsked *asked,
                      SearchProblem *problem, size_t *count) {
    const std::vector<Column> columns = SearchGroupColumns(asked->search, &asked->groups);
    RowWriter writer(options.form(), columns, stdout);
    const SearchEnd end = SearchGroupsRead(reader, asked->search, asked->groups, columns, problem,
                                           [&](Row &row) { writer.Add(row); });
    if (IsAnswered(end))
        writer.End();
    *count = writer.count();
    return end;
}

} // namespace

ExitCode FindCommand(const Options &options) {
    SearchAsked asked;
    if (const ExitCode wrong = SearchAskedRead(options, options.playlist, &asked); wrong != kDone)
        return wrong;
    CatalogueReader reader;
    if (!SearchAskedConnect(&reader, &asked))
        return Complain(kUnreachable, reader.failure);
    SearchProblem problem;
    size_t count = 0;
    const SearchEnd end = options.playlist ? PlaylistFound(&reader, asked.search, stdout, &problem, &count)
                          : asked.groups.empty() ? ListFound(&reader, options, asked, &problem, &count)
                                                 : GroupsFound(&reader, options, &asked, &problem, &count);
    const ExitCode told = SearchEndTell(end, asked, options, problem, reader);
    return told == kDone ? ListEnd(count, options) : told;
}
