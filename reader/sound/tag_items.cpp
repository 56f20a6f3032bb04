// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/tag_items.h"

#include <strings.h>

#include <algorithm>

#include "platform/limits.h"
#include "reader/sound/tag_values.h"

namespace {

bool KeyMatches(const std::string &key, std::string_view wanted) {
    if (wanted.ends_with('*'))
        return key.size() >= wanted.size() - 1 &&
               strncasecmp(key.c_str(), wanted.data(), wanted.size() - 1) == 0;
    return key.size() == wanted.size() && strcasecmp(key.c_str(), wanted.data()) == 0;
}

// A pair may bring the total where the number itself is known.
bool IsSettled(const FactList &facts, const TagRow &row) {
    return row.form != ValueForm::pair && FactFind(facts, row.fact) != nullptr;
}

} // namespace

void FactsFromItems(const TagItems &items, TagTable table, FactSource source, FactList *facts) {
    for (size_t i = 0; i < table.count; ++i) {
        const TagRow &row = table.rows[i];
        if (IsSettled(*facts, row))
            continue;
        size_t values = 0;
        for (const TagItem &item : items) {
            if (values < kSoundValuesMax && KeyMatches(item.key, row.key) &&
                FactsFromValue(row, item.value, source, facts))
                ++values;
        }
    }
}

void ItemsAddSplit(TagItems *items, std::string_view key, std::string_view values) {
    while (!values.empty() && items->size() < kSoundItemsMax) {
        const size_t end = std::min(values.find('\0'), values.size());
        if (end > 0)
            items->push_back({std::string(key), std::string(values.substr(0, end))});
        values.remove_prefix(std::min(end + 1, values.size()));
    }
}
