// SPDX-License-Identifier: GPL-2.0-or-later
//
// New folded texts for rows of the tables about files, several of them to a statement.
#pragma once

#include <stddef.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/index/statements.h"
#include "platform/veludb.h"

// For each row its keys and its text, in the order of the statement's values.
struct FoldedRows {
    int statement;
    size_t columns;
    std::vector<std::optional<std::string>> fields = {};
};

inline FoldedRows FoldedNames() {
    return {StatementOf(StoreOperation::foldNames), kFoldNameColumns};
}
inline FoldedRows FoldedFacts() {
    return {StatementOf(StoreOperation::foldFacts), kFoldFactColumns};
}

// Hands `write` the number and the values of each statement that it takes, the last one's filled up with nothing. False when `write`
// was false.
template <typename Write>
bool FoldedRowsWrite(const FoldedRows &rows, Write write) {
    const size_t at_once = rows.columns * kFoldedAtOnce;
    for (size_t at = 0; at < rows.fields.size(); at += at_once) {
        std::vector<VELUDBValue> values(at_once);
        for (size_t i = 0; i < std::min(at_once, rows.fields.size() - at); ++i) {
            if (const std::optional<std::string> &field = rows.fields[at + i]; field)
                values[i] = VELUDBValue::Text(field->data(), field->size());
        }
        if (!write(rows.statement, values))
            return false;
    }
    return true;
}
