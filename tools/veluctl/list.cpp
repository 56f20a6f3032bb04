// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl list: rows of the catalogue by kind, directory and words, or what they have in common.
#include <algorithm>

#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/groups.h"
#include "tools/veluctl/search/search_hint.h"
#include "tools/veluctl/search/search_list.h"

namespace {

// Whether a word is a field of a search ("year=1999", "has:cover") and no name of a list.
bool IsField(std::string_view word) {
    return word.find_first_of("=<>~:") != std::string_view::npos;
}

// Files of one kind: what people call them.
constexpr const char *kKindsListed[] = {"songs", "films", "photos", "playlists"};

bool IsKind(const std::string &word) {
    return std::ranges::any_of(kKindsListed, [&](std::string_view kind) {
        return word == kind || SearchKindSingular(kind) == word;
    });
}

} // namespace

std::vector<const char *> ListedWords() {
    std::vector<const char *> words = GroupWords();
    words.insert(words.end(), std::begin(kKindsListed), std::end(kKindsListed));
    return words;
}

ExitCode ListCommand(const Options &options) {
    const bool is_kind = IsKind(options.what);
    if (!options.what.empty() && !IsField(options.what) && !is_kind)
        return GroupsList(options);
    Options search = options;
    if (!options.what.empty())
        search.words.insert(search.words.begin(),
                            is_kind ? "kind=" + SearchKindSingular(options.what) : options.what);
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
    return told == kDone ? SearchListEnd(&reader, asked, options, count) : told;
}
