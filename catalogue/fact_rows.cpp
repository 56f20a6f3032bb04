// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/fact_rows.h"

#include <stdio.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/folding/folding.h"
#include "platform/index/media_columns.h"
#include "platform/limits.h"

namespace {

// Columns whose values are searched for one by one.
constexpr FactName kColumnsKept[] = {FactName::artist, FactName::genre, FactName::composer};

constexpr bool IsKept(const FactKind &fact) {
    const auto is_column = [&](const MediaColumn &column) {
        return std::string_view(column.name) == fact.word;
    };
    return std::ranges::find(kColumnsKept, fact.name) != std::end(kColumnsKept) ||
           std::ranges::none_of(kMediaRowColumns, is_column);
}

// A place on earth to a centimetre, and rates to what they can be told apart by.
constexpr int kDigits = 7;

// The largest number that is kept has some 310 digits.
constexpr size_t kNumberSize = 512;

void TextAdd(FactRows *rows, std::string_view name, int position, std::string_view value) {
    std::string folded = TextFolded(value, kFactFoldedMax);
    const bool own = folded == value;
    rows->facts.push_back(
        {name, position, value, own ? value : std::string_view(rows->texts.emplace_back(std::move(folded)))});
}

} // namespace

std::string FactNumberText(double number) {
    char digits[kNumberSize];
    snprintf(digits, sizeof digits, "%.*f", kDigits, number);
    std::string text = digits;
    text.resize(text.find_last_not_of('0') + 1);
    if (text.ends_with('.'))
        text.pop_back();
    return text == "-0" ? "0" : text;
}

FactRows FactRowsOf(const Answer &answer) {
    FactRows rows;
    for (const Fact &fact : answer.facts.facts) {
        const FactKind &kind = FactKindOf(fact.name);
        if (!IsKept(kind))
            continue;
        TextAdd(&rows, kind.word, fact.position,
                kind.type == FactType::text ? fact.text
                                            : rows.texts.emplace_back(FactNumberText(fact.number)));
    }
    return rows;
}

void FactRowsAdd(FactRows *rows, std::string_view name, const std::vector<std::string> &values) {
    int position = 0;
    for (const std::string &value : values)
        TextAdd(rows, name, position++, value);
}
