// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_words.h"

#include <algorithm>
#include <array>
#include <optional>

#include "platform/letters.h"
#include "tools/veluctl/search/bounds.h"
#include "tools/veluctl/search/search_fields.h"

namespace {

constexpr std::string_view kBlanks = " \t\n";
constexpr char kQuote = '"';

struct Sign {
    std::string_view text;
    SearchRelation relation;
};
// The longer ones first.
constexpr Sign kSigns[] = {{">=", SearchRelation::at_least}, {"<=", SearchRelation::at_most},
                           {"=", SearchRelation::is},        {"~", SearchRelation::holds},
                           {">", SearchRelation::above},     {"<", SearchRelation::below}};

struct Presence {
    std::string_view text;
    SearchNode::Kind kind;
};
constexpr Presence kPresences[] = {{"has:", SearchNode::Kind::has}, {"missing:", SearchNode::Kind::missing}};

bool IsNameByte(char byte) {
    return IsDigit(byte) || byte == '_' || (Lower(byte) >= 'a' && Lower(byte) <= 'z');
}

// Returns the name of a field at the begin of a text, be there such a field or not, and the sign behind it.
struct NameAndSign {
    std::string_view name;
    const Sign *sign = nullptr;
};
NameAndSign NameAndSignOf(std::string_view text) {
    size_t length = 0;
    while (length < text.size() && IsNameByte(text[length]))
        ++length;
    for (const Sign &sign : kSigns) {
        if (length > 0 && !IsDigit(text.front()) && text.substr(length).starts_with(sign.text))
            return {text.substr(0, length), &sign};
    }
    return {};
}

const Presence *PresenceOf(std::string_view text) {
    for (const Presence &one : kPresences) {
        if (text.starts_with(one.text))
            return &one;
    }
    return nullptr;
}

std::string_view UpToBlank(std::string_view text) {
    return text.substr(0, text.find_first_of(kBlanks));
}

bool IsOr(std::string_view word) {
    return word == "or" || word == "OR";
}

bool IsNegated(std::string_view text) {
    return text.size() > 1 && text.front() == '-' && kBlanks.find(text[1]) == std::string_view::npos;
}

// Whether a text begins with nothing but a plain word.
bool IsPlain(std::string_view text) {
    return text.front() != kQuote && !IsOr(UpToBlank(text)) && !IsNegated(text) &&
           NameAndSignOf(text).sign == nullptr && PresenceOf(text) == nullptr;
}

// Returns the length of the plain words at the begin of a text.
size_t PlainLength(std::string_view text) {
    size_t length = UpToBlank(text).size();
    for (;;) {
        const size_t next = text.find_first_not_of(kBlanks, length);
        if (next == std::string_view::npos || !IsPlain(text.substr(next)))
            return length;
        length = next + UpToBlank(text.substr(next)).size();
    }
}

struct Taking {
    std::string_view argument;
    size_t offset;
    size_t at;
    SearchProblem *problem;

    [[nodiscard]] std::string_view rest() const { return argument.substr(at); }
    [[nodiscard]] SearchPlace Place(size_t length) const { return {offset + at, length}; }
};

// Takes a value, in quotes or up to `length`.
bool ValueTake(Taking *taking, size_t length, SearchNode *node) {
    std::string_view value = taking->rest().substr(0, length);
    node->value_place = taking->Place(length);
    if (value.starts_with(kQuote) && taking->rest().size() > 1) {
        const size_t end = taking->rest().find(kQuote, 1);
        if (end == std::string_view::npos)
            return SearchWrong(taking->problem, "the quote is not closed", taking->Place(1));
        value = taking->rest().substr(1, end - 1);
        length = end + 1;
        node->value_place = taking->Place(length);
    }
    if (value.size() > (node->name == "path" ? kSearchTextMax : kSearchValueMax))
        return SearchWrong(taking->problem,
                           "a word has at most " + std::to_string(kSearchValueMax) + " bytes",
                           node->value_place);
    node->value = value;
    taking->at += length;
    return true;
}

bool PresenceTake(Taking *taking, const Presence &presence, SearchNode *node) {
    const SearchPlace whole = taking->Place(UpToBlank(taking->rest()).size());
    taking->at += presence.text.size();
    const std::string_view name = UpToBlank(taking->rest());
    node->kind = presence.kind;
    node->name = name;
    node->name_place = taking->Place(name.size());
    taking->at += name.size();
    if (name.empty())
        return SearchWrong(taking->problem, "a field is missing behind " + std::string(presence.text), whole);
    return true;
}

bool FieldTake(Taking *taking, const NameAndSign &found, SearchNode *node) {
    const SearchPlace whole = taking->Place(found.name.size() + found.sign->text.size());
    node->kind = SearchNode::Kind::field;
    node->name = found.name;
    node->name_place = taking->Place(found.name.size());
    node->relation = found.sign->relation;
    taking->at += whole.length;
    const std::string_view value = UpToBlank(taking->rest());
    if (value.empty())
        return SearchWrong(
            taking->problem,
            "a value is missing right behind " + std::string(found.name) + std::string(found.sign->text) +
                ", without a blank; missing:" + std::string(found.name) + " finds what has none",
            whole);
    const SearchField *field = SearchFieldFind(found.name);
    const bool has_blanks = field != nullptr && FieldHoldsBlanks(*field);
    return ValueTake(taking, has_blanks ? PlainLength(taking->rest()) : value.size(), node);
}

// "artist:queen", as other programs have it, is hardly meant as a text.
bool ColonLook(Taking *taking) {
    const std::string_view word = UpToBlank(taking->rest());
    const size_t colon = word.find(':');
    if (colon == std::string_view::npos || colon + 1 == word.size() ||
        SearchFieldFind(word.substr(0, colon)) == nullptr)
        return true;
    const std::string name(word.substr(0, colon));
    return SearchWrong(taking->problem,
                       "write " + name + "= or " + name + "~ (in quotes, a text with a colon is one)",
                       taking->Place(colon + 1));
}

} // namespace

bool IsSignInFront(const SearchWord &word) {
    return word.node.kind == SearchNode::Kind::words && !word.quoted &&
           std::ranges::any_of(kSigns,
                               [&](const Sign &sign) { return word.node.value.starts_with(sign.text); });
}

bool SearchWordTake(std::string_view argument, size_t offset, size_t *at, SearchWord *word, bool *is_end,
                    SearchProblem *problem) {
    *at = std::min(argument.find_first_not_of(kBlanks, *at), argument.size());
    *is_end = *at == argument.size();
    if (*is_end)
        return true;
    Taking taking = {argument, offset, *at, problem};
    *word = {};
    bool good = true;
    if (IsOr(UpToBlank(taking.rest()))) {
        word->either = true;
        taking.at += UpToBlank(taking.rest()).size();
    } else {
        word->negated = IsNegated(taking.rest());
        taking.at += word->negated ? 1 : 0;
        const NameAndSign found = NameAndSignOf(taking.rest());
        const Presence *presence = PresenceOf(taking.rest());
        word->node.kind = SearchNode::Kind::words;
        word->quoted = taking.rest().starts_with(kQuote);
        if (presence != nullptr)
            good = PresenceTake(&taking, *presence, &word->node);
        else if (found.sign != nullptr)
            good = FieldTake(&taking, found, &word->node);
        else
            good = ColonLook(&taking) && ValueTake(&taking, UpToBlank(taking.rest()).size(), &word->node);
    }
    word->place = {offset + *at, taking.at - *at};
    *at = taking.at;
    return good;
}
