// SPDX-License-Identifier: GPL-2.0-or-later
//
// A statement that is being put together, with its values beside it: what people typed is never part of the text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/path.h"

// Parameters count in the order of their first appearance, so that a value is put where the text ends.
struct SqlText {
    std::string sql;
    std::vector<std::string> values;

    SqlText &Add(std::string_view text) {
        sql += text;
        return *this;
    }
    SqlText &Put(std::string value) {
        values.push_back(std::move(value));
        sql += "$" + std::to_string(values.size());
        return *this;
    }
};

// Adds the condition that what has just been added is one of these values; of none, that it is the empty text.
inline void AmongPut(SqlText *query, const std::vector<std::string> &values) {
    query->Add(" in (");
    for (size_t at = 0; at < values.size(); ++at)
        query->Add(at == 0 ? "" : ", ").Put(values[at]);
    query->Add(values.empty() ? "'')" : ")");
}

// Of facts `f`: their values as they are compared, which an index is over. Where the value itself is that, it is kept once.
inline constexpr char kFactFolded[] = "coalesce(f.folded, f.value)";

// Adds the condition that the column, which holds paths, is at or below a directory.
inline void BelowPut(SqlText *query, std::string_view column, const std::string &directory) {
    const PathRange below = RangeUnder(directory == "/" ? "" : directory);
    query->Add("(").Add(column).Add(" = ").Put(directory);
    query->Add(" or (").Add(column).Add(" >= ").Put(below.low);
    query->Add(" and ").Add(column).Add(" < ").Put(below.high).Add("))");
}
