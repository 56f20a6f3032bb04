// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl recent: what came last.
#include <stdio.h>

#include "tools/veluctl/commands.h"
#include "tools/veluctl/listed_file.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/search/search_list.h"

namespace {

constexpr size_t kUsual = 20; // a screenful

// Sorts the latest first. Without file states, the time of the last change of its status comes nearest to when a file came. Playlists
// have that in a form without an order: they have no year.
void LatestFirst(Search *search) {
    const bool states = search->targets.front().facts;
    const SearchField *field = SearchFieldFind(states ? kAddedColumn : "create_time");
    search->sort = {{field, {}, true}};
    if (states)
        return;
    SearchNode any_year;
    any_year.kind = SearchNode::Kind::field;
    any_year.name = field->name;
    any_year.relation = SearchRelation::at_least;
    any_year.value = "1000";
    SearchNode both;
    both.parts = {std::move(any_year), std::move(search->tree)};
    search->tree = std::move(both);
}

// Says how many more there are than are shown where nobody said how many are wanted.
bool MoreTell(CatalogueReader *reader, const Search &search, size_t shown, SearchProblem *problem) {
    int64_t all = 0;
    if (SearchCount(reader, search, &all, problem) != SearchEnd::done)
        return false;
    if (const int64_t more = all - static_cast<int64_t>(shown); more > 0)
        printf("%s more: -n %lld shows all.\n", std::to_string(more).c_str(), static_cast<long long>(all));
    return true;
}

} // namespace

ExitCode RecentCommand(const Options &options) {
    SearchAsked asked;
    if (const ExitCode wrong = SearchFilesAskedRead(options, &asked); wrong != kDone)
        return wrong;
    CatalogueReader reader;
    if (!SearchAskedConnect(&reader, &asked))
        return Complain(kUnreachable, reader.failure);
    Search &search = asked.search;
    LatestFirst(&search);
    const bool states = search.targets.front().facts;
    if (!states)
        Complain(kDone, "the rules appliance do not keep when a file was added: these are by the last change "
                        "of their status, "
                        "without playlists");
    const bool usual = options.limit == kEveryRow;
    search.limit = usual ? kUsual : options.limit;
    SearchProblem problem;
    size_t count = 0;
    const SearchEnd end =
        SearchList(&reader, options, asked, states ? kAddedColumn : kChangedColumn, &problem, &count);
    if (const ExitCode told = SearchEndTell(end, asked, options, problem, reader); told != kDone)
        return told;
    if (usual && count == kUsual && options.form() == Form::table &&
        !MoreTell(&reader, search, count, &problem))
        return Complain(kUnreachable, reader.failure);
    return ListEnd(count, options);
}
