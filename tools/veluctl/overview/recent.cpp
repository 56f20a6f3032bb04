// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl recent: what came last.
#include <stdio.h>

#include <algorithm>
#include <utility>

#include "platform/letters.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/listed_file.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/search/search_dates.h"
#include "tools/veluctl/search/search_hint.h"
#include "tools/veluctl/search/search_list.h"

namespace {

constexpr size_t kUsual = 20; // a screenful

// Without file states, the time of the last change of its status comes nearest to when a file came.
SearchNode CameNode(bool states, SearchRelation relation, const std::string &when) {
    SearchNode node;
    node.kind = SearchNode::Kind::field;
    node.name = states ? kAddedColumn : "create_time";
    node.relation = relation;
    node.value = when;
    return node;
}

// Sorts the latest first, of those days alone that were named. Playlists without states have that time in a form without an order: they
// have no year.
void LatestFirst(const std::string &days, Search *search) {
    const bool states = search->targets.front().facts;
    search->sort = {{SearchFieldFind(CameNode(states, SearchRelation::is, "").name), {}, true}};
    SearchNode all;
    if (!states)
        all.parts.push_back(CameNode(states, SearchRelation::at_least, "1000"));
    if (!days.empty())
        all.parts.push_back(CameNode(states, SearchRelation::is, days));
    if (all.parts.empty())
        return;
    all.parts.push_back(std::move(search->tree));
    search->tree = std::move(all);
}

bool IsDays(const std::string &word) {
    const std::vector<const char *> words = DayWords();
    return std::ranges::any_of(words, [&](const char *days) { return IsSame(word, days); });
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

ExitCode RecentCommand(const Options &typed) {
    Options options = typed;
    if (!options.what.empty() && !IsDays(options.what)) // a word like those behind it
        options.words.insert(options.words.begin(), std::exchange(options.what, {}));
    SearchAsked asked;
    if (const ExitCode wrong = SearchFilesAskedRead(options, &asked); wrong != kDone)
        return wrong;
    CatalogueReader reader;
    if (!SearchAskedConnect(&reader, &asked))
        return Complain(kUnreachable, reader.failure);
    Search &search = asked.search;
    LatestFirst(options.what, &search);
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
    return SearchListEnd(&reader, asked, options, count);
}
