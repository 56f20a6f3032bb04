// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_hint.h"

#include <stdio.h>

#include <algorithm>

#include "platform/folding/language_words.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/search/resolution.h"
#include "tools/veluctl/search/search_dates.h"
#include "tools/veluctl/search/search_values.h"
#include "tools/veluctl/shell_word.h"
#include "tools/veluctl/terminal.h"

namespace {

bool IsYear(const std::string &word) {
    constexpr size_t kShortest = 4; // "1990", "199x"; fewer are rather a number in a title
    SearchNode node;
    node.value = word;
    ValueRange range;
    SearchProblem none;
    return word.size() >= kShortest && ValueRangeRead(node, FieldKind::year, DateForm::local, &range, &none);
}

// A line in a pipe stays whole.
void HintTell(const std::string &hint) {
    for (const std::string &line : TextWrap(hint, IsTerminal(stderr) ? TerminalColumns(stderr) : SIZE_MAX))
        fprintf(stderr, "%s\n", line.c_str());
}

// The field that a word may have been meant to be the value of, with what is found by it; nothing where it is a text like any other.
std::string FieldMeant(const std::string &word, bool has_facts) {
    constexpr size_t kCodeLength = 3; // of languages: too short to be meant
    if (ResolutionOf(word))
        return "resolution=" + word + " finds films by the size of their picture";
    if (const CatalogueTable *kind = SearchKindFind(SearchKindSingular(word)); kind != nullptr)
        return "kind=" + SearchKindSingular(word) + " finds all of that kind";
    if (has_facts && std::ranges::any_of(DayWords(), [&](std::string_view days) { return word == days; }))
        return "added=" + word + " finds what came in these days";
    if (IsYear(word))
        return "year=" + word + " finds what is of that time";
    if (has_facts && word.size() > kCodeLength && !LanguageCode(word).empty())
        return "audio_language=" + word + " and subtitles=" + word + " find films by their languages";
    return {};
}

// Calls `take` for each word and field that has to hold, until it returns true.
template <typename Take>
bool AnyNode(const SearchNode &node, const Take &take) {
    const bool is_group = node.kind == SearchNode::Kind::all_of || node.kind == SearchNode::Kind::any_of;
    return is_group
               ? std::ranges::any_of(node.parts, [&](const SearchNode &part) { return AnyNode(part, take); })
               : take(node);
}

bool WordHint(const Search &search) {
    return AnyNode(search.tree, [&](const SearchNode &node) {
        const std::string meant =
            node.kind == SearchNode::Kind::words ? FieldMeant(node.value, search.targets.front().facts) : "";
        if (!meant.empty())
            HintTell("A word alone is looked for as a text; " + meant + ".");
        return !meant.empty();
    });
}

bool FindsAny(CatalogueReader *reader, const Search &whole, const SearchNode &node) {
    Search search = {
        .tree = node, .targets = whole.targets, .directory = whole.directory, .sort = {}, .limit = 1};
    SearchProblem none;
    bool any = false;
    SearchRowsRead(reader, search, {}, &none, [&](const CatalogueTable &, Row &) { any = true; });
    return any;
}

// People who find nothing may have typed a part of a text.
void PartsHint(CatalogueReader *reader, const Search &search) {
    AnyNode(search.tree, [&](const SearchNode &node) {
        if (node.kind != SearchNode::Kind::field || node.relation != SearchRelation::is ||
            SearchIsKind(node) || !FieldIsText(SearchFieldFind(node.name)->kind) ||
            FindsAny(reader, search, node))
            return false;
        SearchNode part = node;
        part.relation = SearchRelation::holds;
        if (!FindsAny(reader, search, part))
            return false;
        HintTell("= is the whole text; a part of it is found by " + ShellWord(node.name + "~" + node.value) +
                 ".");
        return true;
    });
}

// What a search for another field finds, said where this one finds nothing.
bool MakerHint(CatalogueReader *reader, const Search &search) {
    constexpr std::string_view kModels[] = {"camera", "model", "camera_model"};
    return AnyNode(search.tree, [&](const SearchNode &node) {
        if (node.kind != SearchNode::Kind::field ||
            std::ranges::find(kModels, node.name) == std::end(kModels))
            return false;
        SearchNode maker = node;
        maker.name = "make";
        maker.relation = SearchRelation::holds;
        maker.value = node.value.substr(0, node.value.find(' '));
        if (FindsAny(reader, search, node) || !FindsAny(reader, search, maker))
            return false;
        HintTell(node.name + " is the model alone; " + ShellWord("make~" + maker.value) +
                 " finds by the maker, and veluctl list cameras shows both.");
        return true;
    });
}

} // namespace

ExitCode SearchListEnd(CatalogueReader *reader, const SearchAsked &asked, const Options &options,
                       size_t rows) {
    const ExitCode ended = ListEnd(rows, options);
    if (ended == kFound && options.form() == Form::table && !WordHint(asked.search) &&
        !MakerHint(reader, asked.search))
        PartsHint(reader, asked.search);
    return ended;
}
