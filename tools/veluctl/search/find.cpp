// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl find: rows by words and fields, as a list, in groups, or as a playlist.
#include <algorithm>

#include "platform/rule_set.h"
#include "tools/queue/request_path.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/playlist_writer.h"
#include "tools/veluctl/row_list.h"
#include "tools/veluctl/search/search_groups.h"
#include "tools/veluctl/search/search_sql.h"
#include "tools/veluctl/terminal.h"

namespace {

// A problem and the text that it is in: the search, or an option's value.
ExitCode ProblemTell(const SearchProblem &problem, const std::string &text) {
    constexpr size_t kIndent = 9; // as wide as what stands in front of a complaint
    const size_t columns = TerminalColumns(stderr);
    std::string lines;
    for (const std::string &line :
         TextWrap(problem.what, columns > 2 * kIndent ? columns - kIndent : kIndent))
        lines.append(lines.empty() ? "" : "\n" + std::string(kIndent, ' ')).append(line);
    Complain(kUsage, lines);
    if (!text.empty())
        fputs(SearchMark(text, problem.place, columns).c_str(), stderr);
    return kUsage;
}

bool IsPlayed(const CatalogueTable &table) {
    const std::string_view kind = table.kind;
    return kind == "music" || kind == "video";
}

// The tables whose rows may be meant: the media tables unless the search, or --kind, names others.
std::vector<const CatalogueTable *> TablesChoose(const Options &options, const SearchNode &tree) {
    std::vector<const CatalogueTable *> tables;
    for (const CatalogueTable &table : CatalogueTables()) {
        const bool asked = options.kinds.empty() ? table.is_media || SearchNames(tree, table)
                                                 : std::find(options.kinds.begin(), options.kinds.end(),
                                                             table.kind) != options.kinds.end();
        if (asked && SearchMayMean(tree, table) && (!options.playlist || IsPlayed(table)))
            tables.push_back(&table);
    }
    return tables;
}

// Connects, and finds out what the catalogue can do.
bool TargetsMake(CatalogueReader *reader, const std::vector<const CatalogueTable *> &tables, Search *search) {
    const Catalogue catalogue = tables.front()->catalogue;
    VELUDB *database = CatalogueConnect(reader, catalogue);
    if (database == nullptr)
        return false;
    const bool complete = RuleSetConfigured() == RuleSet::complete;
    const int facts = complete && catalogue == Catalogue::media ? FileTablesLook(reader) : 0;
    for (const CatalogueTable *table : tables)
        search->targets.push_back({table, &VELUDBWordsOf(database), facts > 0, complete});
    return facts >= 0;
}

// Whether there is an answer, be it a part of one.
bool IsAnswered(SearchEnd end) {
    return end == SearchEnd::done || end == SearchEnd::unreachable;
}

struct Asked {
    const Options &options;
    std::vector<const CatalogueTable *> tables;
    Search search;
    std::vector<SearchOrderKey> groups;
};

SearchEnd ListFound(CatalogueReader *reader, const Asked &asked, SearchProblem *problem, size_t *count) {
    RowList list(asked.tables, asked.options.form());
    const SearchEnd end =
        SearchRowsRead(reader, asked.search, list.names(), problem,
                       [&](const CatalogueTable &table, Row &row) { list.Add(table, row); });
    if (IsAnswered(end))
        list.End();
    *count = list.count();
    return end;
}

SearchEnd GroupsFound(CatalogueReader *reader, Asked *asked, SearchProblem *problem, size_t *count) {
    const std::vector<Column> columns = SearchGroupColumns(asked->search, &asked->groups);
    RowWriter writer(asked->options.form(), columns, stdout);
    const SearchEnd end = SearchGroupsRead(reader, asked->search, asked->groups, columns, problem,
                                           [&](Row &row) { writer.Add(row); });
    if (IsAnswered(end))
        writer.End();
    *count = writer.count();
    return end;
}

SearchEnd PlaylistFound(CatalogueReader *reader, const Asked &asked, SearchProblem *problem, size_t *count) {
    PlaylistWriter writer(stdout);
    const SearchEnd end =
        SearchRowsRead(reader, asked.search, {std::begin(kPlaylistColumns), std::end(kPlaylistColumns)},
                       problem, [&](const CatalogueTable &, Row &row) { writer.Add(row); });
    if (writer.left_out() > 0)
        Complain(kDone, Counted(static_cast<long long>(writer.left_out()), "file") +
                            " left out: a playlist has no place for a name with a line's end");
    *count = writer.count();
    return end;
}

// Reads what the options say of order and place. Returns what is wrong with them.
ExitCode OptionsTake(const Options &options, Asked *asked) {
    SearchProblem problem;
    if (!options.sort.empty() && !SearchOrderRead(options.sort, &asked->search.sort, &problem))
        return ProblemTell(problem, options.sort);
    if (!options.group.empty() && !SearchOrderRead(options.group, &asked->groups, &problem))
        return ProblemTell(problem, options.group);
    if (options.limit != kEveryRow)
        asked->search.limit = options.limit;
    if (options.directory.empty())
        return kDone;
    if (!asked->tables.front()->keeps_paths)
        return Complain(kUsage, std::string(asked->tables.front()->kind) +
                                    " rows have no path: --dir does not apply");
    asked->search.directory = RequestPathMake(options.directory);
    return kDone;
}

} // namespace

ExitCode FindCommand(const Options &options) {
    Asked asked = {options, {}, {}, {}};
    const std::string text = SearchTextOf(options.words);
    SearchProblem problem;
    if (!SearchParse(options.words, &asked.search.tree, &problem))
        return ProblemTell(problem, text);
    asked.tables = TablesChoose(options, asked.search.tree);
    if (asked.tables.empty() && options.playlist)
        return Complain(kUsage, "a playlist is of songs and films: of no other kind");
    if (asked.tables.empty())
        asked.tables.push_back(CatalogueTables().data()); // which then has no such row
    if (!TablesGoTogether(asked.tables))
        return Complain(kUsage, kTablesApart);
    if (const ExitCode wrong = OptionsTake(options, &asked); wrong != kDone)
        return wrong;
    CatalogueReader reader;
    if (!TargetsMake(&reader, asked.tables, &asked.search))
        return Complain(kUnreachable, reader.failure);
    size_t count = 0;
    const SearchEnd end = options.playlist       ? PlaylistFound(&reader, asked, &problem, &count)
                          : asked.groups.empty() ? ListFound(&reader, asked, &problem, &count)
                                                 : GroupsFound(&reader, &asked, &problem, &count);
    switch (end) {
    case SearchEnd::wrong:
        return ProblemTell(problem, text);
    case SearchEnd::wrong_sort:
        return ProblemTell(problem, options.sort);
    case SearchEnd::wrong_group:
        return ProblemTell(problem, options.group);
    case SearchEnd::unreachable:
        return Complain(kUnreachable, reader.failure);
    case SearchEnd::done:
        break;
    }
    return ListEnd(count, options);
}
