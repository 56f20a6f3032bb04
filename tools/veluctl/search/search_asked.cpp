// SPDX-License-Identifier: GPL-2.0-or-later
//
// From the words and options of a command to a search that can be asked.
#include "tools/veluctl/search/search_asked.h"

#include <algorithm>
#include <filesystem>

#include "platform/rule_set.h"
#include "tools/queue/request_path.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/row_list.h"
#include "tools/veluctl/search/search_sql.h"
#include "tools/veluctl/search/search_values.h"
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
    Complain(kUsage, IsTerminal(stderr) ? problem.what : lines); // at a terminal's edge it is wrapped there
    if (!text.empty())
        fputs(SearchMark(text, problem.place, columns).c_str(), stderr);
    return kUsage;
}

bool IsPlayed(const CatalogueTable &table) {
    const std::string_view kind = table.kind;
    return kind == "music" || kind == "video";
}

// The tables whose rows may be meant: the media tables unless the search, or --kind, names others.
std::vector<const CatalogueTable *> TablesChoose(const Options &options, const SearchNode &tree,
                                                 bool playlist) {
    std::vector<const CatalogueTable *> tables;
    for (const CatalogueTable &table : CatalogueTables()) {
        const bool asked = options.kinds.empty()
                               ? table.is_media || SearchNames(tree, table)
                               : std::ranges::any_of(options.kinds, [&](const std::string &kind) {
                                     return SearchKindFind(kind) == &table;
                                 });
        if (asked && SearchMayMean(tree, table) && (!playlist || IsPlayed(table)))
            tables.push_back(&table);
    }
    return tables;
}

// Reads what the options say of order and place. Returns what is wrong with them.
ExitCode OptionsTake(const Options &options, SearchAsked *asked) {
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

// "size>100k" without quotes is "size", with the answer in a file of the name "100k".
void RedirectionLook(const SearchNode &node) {
    for (const SearchNode &part : node.parts)
        RedirectionLook(part);
    const SearchField *field = node.kind == SearchNode::Kind::words ? SearchFieldFind(node.value) : nullptr;
    std::error_code error;
    const std::string file = std::filesystem::read_symlink("/proc/self/fd/1", error).filename();
    SearchNode meant;
    meant.value = file;
    ValueRange range;
    SearchProblem none;
    if (field != nullptr && !FieldIsText(field->kind) && !error &&
        ValueRangeRead(meant, field->kind, DateForm::local, &range, &none))
        Complain(kDone, "the answer goes to the file " + Quoted(file) +
                            ", since shells take > for themselves; " + field->name + "=" + file +
                            ".. says the same without quotes");
}

} // namespace

ExitCode SearchAskedRead(const Options &options, bool playlist, SearchAsked *asked) {
    asked->text = SearchTextOf(options.words);
    SearchProblem problem;
    if (!options.words.empty() && !SearchParse(options.words, &asked->search.tree, &problem))
        return ProblemTell(problem, asked->text);
    RedirectionLook(asked->search.tree);
    asked->tables = TablesChoose(options, asked->search.tree, playlist);
    if (asked->tables.empty() && playlist)
        return Complain(kUsage, "a playlist is of songs and films: of no other kind");
    if (asked->tables.empty())
        asked->tables.push_back(CatalogueTables().data()); // which then has no such row
    if (!TablesGoTogether(asked->tables))
        return Complain(kUsage, kTablesApart);
    return OptionsTake(options, asked);
}

ExitCode SearchFilesAskedRead(const Options &options, SearchAsked *asked) {
    if (const ExitCode wrong = SearchAskedRead(options, false, asked); wrong != kDone)
        return wrong;
    if (!std::ranges::all_of(asked->tables, &CatalogueTable::is_media))
        return Complain(kUsage, "only files of the kinds music, video, photo and playlist are meant here");
    return kDone;
}

bool SearchAskedConnect(CatalogueReader *reader, SearchAsked *asked) {
    const Catalogue catalogue = asked->tables.front()->catalogue;
    VELUDB *database = CatalogueConnect(reader, catalogue);
    if (database == nullptr)
        return false;
    const bool complete = RuleSetConfigured() == RuleSet::complete;
    const int facts = complete && catalogue == Catalogue::media ? FileTablesLook(reader) : 0;
    for (const CatalogueTable *table : asked->tables)
        asked->search.targets.push_back({table, &VELUDBWordsOf(database), facts > 0, complete});
    return facts >= 0;
}

ExitCode SearchEndTell(SearchEnd end, const SearchAsked &asked, const Options &options,
                       const SearchProblem &problem, const CatalogueReader &reader) {
    switch (end) {
    case SearchEnd::wrong:
        return ProblemTell(problem, asked.text);
    case SearchEnd::wrong_sort:
        return ProblemTell(problem, options.sort);
    case SearchEnd::wrong_group:
        return ProblemTell(problem, options.group);
    case SearchEnd::unreachable:
        return Complain(kUnreachable, reader.failure);
    case SearchEnd::done:
        break;
    }
    return kDone;
}
