// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/missing_tags.h"

#include <algorithm>

namespace {

// No word of a stamp but that of what came from a name has such letters.
constexpr TagLack kLacks[] = {
    {"title", "", "s.stamp like '% r%T%'"},
    {"artist", "m.artist = ''", ""},
    {"album", "m.album = ''", "s.stamp like '% r%A%'"},
    {"genre", "m.genre = ''", ""},
    {"year", "m.year <= 0", ""},
    {"track", "m.track <= 0", ""},
};

// Either of the two that is known; empty: neither.
std::string LackCondition(const TagLack &lack, bool states) {
    const std::string of_row = lack.of_row;
    const std::string of_state = states ? lack.of_state : "";
    return of_row + (of_row.empty() || of_state.empty() ? "" : " or ") + of_state;
}

} // namespace

std::span<const TagLack> TagLacks() {
    return kLacks;
}

const TagLack &TagLackOf(std::string_view tag) {
    return *std::ranges::find(kLacks, tag, &TagLack::tag);
}

std::string TaggedRows(bool states) {
    return states ? "music m join file_state s on s.path = m.path" : "music m";
}

std::string AnyTagMissing(bool states) {
    std::string sql;
    for (const TagLack &lack : kLacks)
        if (const std::string condition = LackCondition(lack, states); !condition.empty())
            sql.append(sql.empty() ? "(" : " or ").append(condition);
    return sql + ")";
}

std::string TagsMissingText(bool states) {
    std::string sql;
    for (const TagLack &lack : kLacks)
        if (const std::string condition = LackCondition(lack, states); !condition.empty())
            sql.append(sql.empty() ? "trim(" : " || ")
                .append("case when ")
                .append(condition)
                .append(" then '")
                .append(lack.tag)
                .append(" ' else '' end");
    return sql + ")";
}
