// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/text_match.h"

#include <algorithm>

#include "platform/letters.h"
#include "platform/veludb.h"
#include "tools/veluctl/search/folded_pattern.h"

namespace {

// Columns may have collations of their own, of which a pattern takes none; this one compares bytes.
constexpr char kByBytes[] = " collate \"C\"";

constexpr char kNoAscii[] = "[\x80-\xff]";
constexpr char kFirstNoAscii[] = "\x80";

bool IsAscii(const std::string &text) {
    return std::all_of(text.begin(), text.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

// A text that begins with another letter is not looked at any further. Of conditions that all have to hold a server takes the one
// with the fewest operations first, which this has to be: the patterns take many times as long.
void BeginPut(const std::string &column, char first, SqlText *query) {
    query->Add("(substr(").Add(column).Add(", 1, 1) in (").Put(std::string(1, first)).Add(", ");
    query->Put(std::string(1, Upper(first))).Add(") or ");
    query->Add(column).Add(kByBytes).Add(" >= ").Put(kFirstNoAscii).Add(") and ");
}

// Text of ASCII is folded by its small letters; a pattern, which takes many times as long, is for what has other letters.
void MatchPut(const std::string &text, const std::string &folded, bool whole, SqlText *query) {
    query->Add("(");
    if (IsAscii(folded)) {
        query->Add("lower(").Add(text).Add(")").Add(whole ? " = " : " like ");
        query->Put(whole ? folded : LikePattern(folded)).Add(" or ");
    }
    query->Add(text).Add(kByBytes).Add(" ~ ").Put(kNoAscii).Add(" and ");
    query->Add(text).Add(kByBytes).Add(" ~ ").Put(FoldedPattern(folded, whole)).Add(")");
}

} // namespace

void TextIsPut(const std::string &column, const std::string &folded, const VELUDBWords &words,
               SqlText *query) {
    if (words.folds) {
        query->Add("velu_is(").Put(folded).Add(", ").Add(column).Add(")");
        return;
    }
    query->Add("(");
    if (!folded.empty() && IsAscii(folded.substr(0, 1)))
        BeginPut(column, folded.front(), query);
    MatchPut(column, folded, true, query);
    query->Add(")");
}

void TextHoldsPut(const std::vector<std::string> &columns, const std::string &folded,
                  const VELUDBWords &words, SqlText *query) {
    std::string list;
    for (const std::string &column : columns)
        list.append(", ").append(column);
    if (words.folds)
        query->Add("velu_holds(").Put(folded).Add(list).Add(")");
    else
        MatchPut("concat_ws(chr(10)" + list + ")", folded, false, query);
}

std::string LikePattern(const std::string &text) {
    std::string escaped(2 * text.size() + 1, '\0');
    const int length = VELUDBEscapeBackslash(escaped.data(), escaped.size(), text.c_str());
    escaped.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return "%" + escaped + "%";
}
