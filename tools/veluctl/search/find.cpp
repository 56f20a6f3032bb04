// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl find: rows by words and fields, as a list, in groups, or as a playlist.
#include <stdio.h>

#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/search/search_groups.h"
#include "tools/veluctl/search/search_list.h"
#include "tools/veluctl/search/search_playlist.h"
#include "tools/veluctl/shell_word.h"

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

// The first field of a search of which a whole text is asked for; null: none.
const SearchNode *WholeTextAsked(const SearchNode &node) {
    if (node.kind == SearchNode::Kind::field && node.relation == SearchRelation::is && !SearchIsKind(node) &&
        FieldIsText(SearchFieldFind(node.name)->kind))
        return &node;
    const SearchNode *found = nullptr;
    for (size_t at = 0; at < node.parts.size() && found == nullptr; ++at)
        found = WholeTextAsked(node.parts[at]);
    return found;
}

// People who find nothing may have typed a part of a text.
void PartsHint(const SearchNode &tree) {
    if (const SearchNode *field = WholeTextAsked(tree))
        fprintf(stderr, "= is the whole text; a part of it is found by %s.\n",
                ShellWord(field->name + "~" + field->value).c_str());
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
                          : asked.groups.empty()
                              ? SearchList(&reader, options, asked, nullptr, &problem, &count)
                              : GroupsFound(&reader, options, &asked, &problem, &count);
    const ExitCode told = SearchEndTell(end, asked, options, problem, reader);
    if (told != kDone)
        return told;
    const ExitCode ended = ListEnd(count, options);
    if (ended == kFound && options.form() == Form::table)
        PartsHint(asked.search.tree);
    return ended;
}
