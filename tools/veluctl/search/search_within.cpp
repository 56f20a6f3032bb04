// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_within.h"

#include <algorithm>

#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/search/search_field_sql.h"

namespace {

bool TargetPut(const Search &search, const SearchTarget &target, SqlText *query, SearchProblem *problem) {
    query->Add("select ").Add(QualifiedName(*target.table, target.table->key));
    return SearchRowsPut(search, target, {}, false, query, problem);
}

SearchEnd Check(const Search &search, SearchProblem *problem) {
    const bool good = std::ranges::all_of(search.targets, [&](const SearchTarget &target) {
        SqlText query;
        return TargetPut(search, target, &query, problem);
    });
    return good ? SearchEnd::done : SearchEnd::wrong;
}

} // namespace

ExitCode SearchWithinBegin(const Options &options, SearchAsked *asked, CatalogueReader *reader, bool *facts) {
    if (const ExitCode wrong = SearchFilesAskedRead(options, asked); wrong != kDone)
        return wrong;
    const int there = SearchAskedConnect(reader, asked) ? FileTablesLook(reader) : -1;
    if (there < 0)
        return Complain(kUnreachable, reader->failure);
    *facts = there == 1;
    SearchProblem problem;
    const SearchEnd end = Check(asked->search, &problem);
    return SearchEndTell(end, *asked, options, problem, *reader);
}

void SearchWithinPut(const Search &search, std::string_view path, std::span<const char *const> tables,
                     SqlText *query) {
    if (search.IsEverything()) {
        if (!search.directory.empty())
            BelowPut(&query->Add(" and "), path, search.directory);
        return;
    }
    const char *joint = " in (";
    query->Add(" and (").Add(path);
    for (const SearchTarget &target : search.targets) {
        if (std::ranges::find(tables, std::string_view(target.table->table)) == tables.end())
            continue;
        SearchProblem none;
        static_cast<void>(TargetPut(search, target, &query->Add(joint), &none));
        joint = " union all ";
    }
    const bool any = joint != std::string_view(" in (");
    query->Add(any ? "))" : std::string(") is null and ") + kSqlNo);
}
