// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl list: rows of the catalogue by kind, directory and words, or what they have in common.
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/groups.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/search/search_list.h"

namespace {

// Whether a word is a field of a search ("year=1999", "has:cover") and no name of a list.
bool IsField(std::string_view word) {
    return word.find_first_of("=<>~:") != std::string_view::npos;
}

} // namespace

ExitCode ListCommand(const Options &options) {
    if (!options.what.empty() && !IsField(options.what))
        return GroupsList(options);
    Options search = options;
    if (!options.what.empty())
        search.words.insert(search.words.begin(), options.what);
    SearchAsked asked;
    if (const ExitCode wrong = SearchAskedRead(search, false, &asked); wrong != kDone)
        return wrong;
    CatalogueReader reader;
    if (!SearchAskedConnect(&reader, &asked))
        return Complain(kUnreachable, reader.failure);
    SearchProblem problem;
    size_t count = 0;
    const SearchEnd end = SearchList(&reader, options, asked, nullptr, &problem, &count);
    const ExitCode told = SearchEndTell(end, asked, options, problem, reader);
    return told == kDone ? ListEnd(count, options) : told;
}
