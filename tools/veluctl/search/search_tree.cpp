// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_tree.h"

#include "platform/letters.h"
#include "tools/veluctl/search/bounds.h"
#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/search_words.h"

namespace {

// A tree of one part is that part.
SearchNode Joined(SearchNode::Kind kind, std::vector<SearchNode> parts) {
    if (parts.size() == 1)
        return std::move(parts.front());
    SearchNode node;
    node.kind = kind;
    node.parts = std::move(parts);
    return node;
}

SearchNode NodeOf(SearchWord word) {
    if (!word.negated)
        return std::move(word.node);
    SearchNode node;
    node.kind = SearchNode::Kind::none_of;
    node.parts.push_back(std::move(word.node));
    return node;
}

bool KindCheck(const SearchNode &node, SearchProblem *problem) {
    if (node.relation != SearchRelation::is)
        return SearchWrong(problem, "a kind is named with =", node.name_place);
    if (SearchKindFind(node.value) == nullptr)
        return SearchWrong(problem, "there is no such kind; there are " + SearchKindNames(),
                           node.value_place);
    return true;
}

bool FieldCheck(const SearchNode &node, SearchProblem *problem) {
    if (node.name.empty())
        return true;
    if (SearchFieldFind(node.name) != nullptr)
        return !SearchIsKind(node) || KindCheck(node, problem);
    std::string what = "there is no field " + node.name + SearchFieldHint(node.name);
    if (node.kind == SearchNode::Kind::field)
        what += " (in quotes it is a text)";
    return SearchWrong(problem, std::move(what), node.name_place);
}

// The groups that `or` parts, of which the last is being filled.
struct Groups {
    std::vector<SearchNode> done;
    std::vector<SearchNode> open;
    SearchPlace last_or;
    size_t terms = 0;
    SearchPlace name = {}; // of the last word, if that is a field's name
};

bool GroupEnd(Groups *groups, SearchPlace either, SearchProblem *problem) {
    if (groups->open.empty())
        return SearchWrong(problem, "or stands between two things (in quotes it is a text)", either);
    groups->done.push_back(Joined(SearchNode::Kind::all_of, std::move(groups->open)));
    groups->open.clear();
    return true;
}

// "artist = X" is hardly meant as three texts.
bool BlanksLook(Groups *groups, const SearchWord &word, SearchProblem *problem) {
    const bool is_text = word.node.kind == SearchNode::Kind::words && !word.quoted && !word.either;
    const SearchPlace name = groups->name;
    groups->name = is_text && SearchFieldFind(word.node.value) != nullptr ? word.place : SearchPlace();
    if (name.length == 0 || !IsSignInFront(word))
        return true;
    return SearchWrong(problem,
                       "a field, its sign and its value stand together without blanks: artist=X (in quotes, "
                       "each is a text)",
                       {name.at, word.place.at + word.place.length - name.at});
}

bool WordAdd(Groups *groups, SearchWord word, SearchProblem *problem) {
    if (!BlanksLook(groups, word, problem))
        return false;
    if (word.either) {
        groups->last_or = word.place;
        return GroupEnd(groups, word.place, problem);
    }
    if (!FieldCheck(word.node, problem))
        return false;
    if (++groups->terms > kSearchTermsMax)
        return SearchWrong(problem,
                           "a search has at most " + std::to_string(kSearchTermsMax) + " words and fields",
                           word.place);
    groups->open.push_back(NodeOf(std::move(word)));
    return true;
}

} // namespace

bool SearchIsKind(const SearchNode &node) {
    return node.kind == SearchNode::Kind::field && IsSame(node.name, "kind");
}

std::string SearchTextOf(const std::vector<std::string> &arguments) {
    std::string text;
    for (const std::string &argument : arguments)
        text.append(text.empty() ? "" : " ").append(argument);
    return text;
}

bool SearchParse(const std::vector<std::string> &arguments, SearchNode *tree, SearchProblem *problem) {
    Groups groups;
    size_t offset = 0;
    for (const std::string &argument : arguments) {
        if (argument.size() > kSearchTextMax || offset > kSearchTextMax - argument.size())
            return SearchWrong(problem, "a search has at most " + std::to_string(kSearchTextMax) + " bytes",
                               {offset, argument.size()});
        bool is_end = false;
        for (size_t at = 0; !is_end;) {
            SearchWord word;
            if (!SearchWordTake(argument, offset, &at, &word, &is_end, problem))
                return false;
            if (!is_end && !WordAdd(&groups, std::move(word), problem))
                return false;
        }
        offset += argument.size() + (argument.empty() && offset == 0 ? 0 : 1);
    }
    if (groups.done.empty() && groups.open.empty())
        return SearchWrong(problem, "there is nothing to look for", {0, 0});
    if (!GroupEnd(&groups, groups.last_or, problem))
        return false;
    *tree = Joined(SearchNode::Kind::any_of, std::move(groups.done));
    return true;
}
