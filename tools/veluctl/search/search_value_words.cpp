// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_value_words.h"

#include <algorithm>

#include "platform/folding/language_words.h"
#include "tools/veluctl/search/resolution.h"
#include "tools/veluctl/search/search_dates.h"
#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/search_help.h"

namespace {

// Facts that the readers themselves give their values.
struct FactValues {
    std::string_view field;
    std::vector<std::string> values;
};
const std::vector<FactValues> &AllFactValues() {
    static const std::vector<FactValues> all = {{"hdr", {"hdr10", "hdr10plus", "hlg", "dolby_vision"}},
                                                {"rotation", {"90", "180", "270"}},
                                                {"date_source", {"exif", "xmp", "iptc"}}};
    return all;
}

std::vector<std::string> TextsOf(const std::vector<const char *> &words) {
    return {words.begin(), words.end()};
}

std::vector<std::string> ValuesOf(const SearchField &field) {
    const std::string_view name = field.name;
    if (name == "kind")
        return TextsOf(SearchKindWords());
    const auto known = std::ranges::find(AllFactValues(), name, &FactValues::field);
    if (known != AllFactValues().end())
        return known->values;
    if (FieldIsLanguage(field))
        return LanguageNames();
    switch (field.kind) {
    case FieldKind::flag:
    case FieldKind::boolean:
        return {"yes", "no"};
    case FieldKind::date:
        return TextsOf(DayWords());
    case FieldKind::resolution:
        return ResolutionWords();
    default:
        break;
    }
    return {};
}

} // namespace

std::vector<ValueWords> SearchValueWords() {
    std::vector<ValueWords> all;
    for (const SearchField &field : SearchFields()) {
        std::vector<std::string> values = ValuesOf(field);
        if (values.empty())
            continue;
        const std::string beginning = std::string(field.name) + "=";
        const auto same = std::ranges::find(all, values, &ValueWords::values);
        if (same != all.end())
            same->beginnings.push_back(beginning);
        else
            all.push_back({{beginning}, std::move(values)});
    }
    all.push_back({{"has:", "missing:"}, SearchFieldNames()});
    return all;
}
