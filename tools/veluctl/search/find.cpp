// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl find: rows by words and fields, as a list, in groups, or as a playlist.
#include <stdio.h>

#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/search/search_groups.h"
#include "tools/veluctl/search/search_hint.h"
#include "tools/veluctl/search/search_list.h"
#include "tools/veluctl/search/search_playlist.h"

namespace {

SearchEnd GroupsFound(CatalogueReader *reader, const Options &options, SearchAsked *asked,
                      SearchProblem *problem, size_t *count) {
    const std::vector<Column> columns = SearchGroupColumns(asked->search, &asked->groups);
    RowWriter writer(options.form(), columns, stdout);
    const SearchEnd end = SearchGroupsRead(reader, asked->search, asked->groups, columns, problem,
                                           [&](Row &row) { writer.Add(row); });
    if (SearchIsAnswered(end))
        writer.End();
    *count = writer.count();
    return end;
}

} // namespace

ExitCode FindCommand(const Options &options) {
    if (options.words.empty() && options.kinds.empty() && options.directory.empty())
        return Complain(kUsage, "say what to look for: words or fields (veluctl help find), or a kind or a "
                                "directory, of which everything is found");
    SearchAsked asked;
    if (const ExitCode wrong = SearchAskedRead(options, options.playlist, &asked); wrong != kDone)
        return wrong;
    CatalogueReader reader;
    if (!SearchAskedConnect(&reader, &asked))
        return Complain(kUnreachable, reader.failure);
    SearchProblem problem;
    size_t count = 0;
    const SearchEnd end = options.playlist ? PlaylistFound(&reader, asked.search, stdout, &problem, &count)
                          : asked.groups.empty()
                              ? SearchList(&reader, options, asked, nullptr, &problem, &count)
                              : GroupsFound(&reader, options, &asked, &problem, &count);
    const ExitCode told = SearchEndTell(end, asked, options, problem, reader);
    if (told != kDone)
        return told;
    return SearchListEnd(&reader, asked, options, count);
}
