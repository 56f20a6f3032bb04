// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/fact_columns.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "catalogue/util.h"
#include "platform/index/media_columns.h"
#include "platform/utf8.h"

namespace {

constexpr char kBetweenValues[] = "; ";

constexpr const MediaColumn *ColumnOf(const FactKind &fact) {
    for (const MediaColumn &column : kMediaRowColumns) {
        if (std::string_view(column.name) == fact.word)
            return &column;
    }
    return nullptr;
}

struct FactColumn {
    FactName fact;
    const MediaColumn *column; // null: the fact has none
};

template <size_t... Index>
consteval auto FactColumnsMake(std::index_sequence<Index...>) {
    return std::array<FactColumn, sizeof...(Index)>{{{kFacts[Index].name, ColumnOf(kFacts[Index])}...}};
}
constexpr auto kFactColumns = FactColumnsMake(std::make_index_sequence<kFactNames>());

void NumberStore(const MediaColumn &column, double value, MediaInfo *record) {
    char *field = MediaField(record, column);
    const uint32_t count = MediaCountFrom(value);
    const auto number = static_cast<int32_t>(std::min<uint32_t>(count, INT32_MAX));
    const auto seconds = static_cast<float>(value);
    switch (column.kind) {
    case ColumnKind::number:
    case ColumnKind::flag:
        memcpy(field, &number, sizeof number);
        break;
    case ColumnKind::seconds:
        memcpy(field, &seconds, sizeof seconds);
        break;
    case ColumnKind::count:
    case ColumnKind::small:
        memcpy(field, &count, sizeof count);
        break;
    case ColumnKind::path:
    case ColumnKind::tag:
    case ColumnKind::text:
    case ColumnKind::bytes:
        break;
    }
}

// Adds a value behind those that are there.
void TextAdd(const MediaColumn &column, std::string_view value, MediaInfo *record) {
    char *field = MediaField(record, column);
    std::string text(field);
    if (!text.empty())
        text += kBetweenValues;
    text += value;
    text.resize(Utf8Front(text, column.size - 1).size());
    memcpy(field, text.c_str(), text.size() + 1);
}

// The year that a date begins with: "2001-05-06", "2001".
int32_t YearOf(const std::string &date) {
    const size_t digits = std::min(date.find_first_not_of("0123456789"), date.size());
    return digits == 4 ? atoi(date.c_str()) : 0;
}

} // namespace

void FactColumnsFill(const Answer &answer, MediaInfo *record) {
    for (const Fact &fact : answer.facts.facts) {
        const MediaColumn *column = kFactColumns[static_cast<size_t>(fact.name)].column;
        if (column == nullptr)
            continue;
        if (FactKindOf(fact.name).type == FactType::text)
            TextAdd(*column, fact.text, record);
        else
            NumberStore(*column, fact.number, record);
    }
    if (const Fact *date = FactFind(answer.facts, FactName::date); record->year == 0 && date != nullptr)
        record->year = YearOf(date->text);
    if (answer.content == ContentClass::sound) // a cover is no film
        record->video_bitrate = 0;
}
