// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/group_values.h"

#include <algorithm>

#include "tools/veluctl/search/search_source.h"

namespace {

// More groups than this are as well made all.
constexpr size_t kGroupsMax = 1000;

// Values that are the same in small letters stand beside each other: of one group there may be several.
constexpr size_t kSpellingsMax = 2;

bool IsColumnOfText(const SearchField &field, const SearchTarget &target) {
    const FieldSource source = FieldSourceOf(field, *target.table, target.facts);
    return source.place == FieldPlace::column && FieldIsText(source.kind);
}

bool IsFirstInOrder(const Search &search, const SearchField *field) {
    return search.sort.empty() || search.sort.front().field == field;
}

bool ValuesPut(const Search &search, const std::vector<SearchOrderKey> &groups, SqlText *query,
               SearchProblem *problem) {
    const std::vector<SearchOrderKey> first = {groups.front()};
    for (const SearchTarget &target : search.targets) {
        query->Add(&target == search.targets.data() ? "select distinct " : " union select distinct ");
        if (!SearchValuePut(first, 0, target, false, query, problem))
            return false;
        query->Add(" as value, ");
        if (!SearchValuePut(first, 0, target, true, query, problem))
            return false;
        query->Add(" as small");
        if (!SearchRowsPut(search, target, {}, false, query, problem))
            return false;
    }
    return true;
}

} // namespace

GroupValues GroupValuesRead(CatalogueReader *reader, const Search &search,
                            const std::vector<SearchOrderKey> &groups) {
    const SearchField *field = groups.front().field;
    const bool few = search.limit > 0 && search.limit <= kGroupsMax;
    if (!few || !IsFirstInOrder(search, field) ||
        !std::ranges::all_of(search.targets,
                             [&](const SearchTarget &target) { return IsColumnOfText(*field, target); }))
        return {};
    const size_t most = search.limit * kSpellingsMax;
    const bool descending = !search.sort.empty() && search.sort.front().descending;
    SqlText query;
    query.Add("select value, small from (");
    if (SearchProblem told_later; !ValuesPut(search, groups, &query, &told_later))
        return {};
    query.Add(descending ? ") found order by 2 desc" : ") found order by 2");
    query.Add(" limit " + std::to_string(most + 1));
    const ResultHandle rows =
        CatalogueQuery(reader, search.targets.front().table->catalogue, query.sql, query.values);
    if (rows == nullptr)
        return {false};
    std::vector<std::string> values;
    std::string small;
    size_t different = 0;
    for (int at = -1; VELUDBFetchRow(rows.get(), &at) == 0;) {
        std::string next = VELUDBFetchText(rows.get(), at, "small");
        if (values.empty() || next != small)
            ++different;
        if (different > search.limit)
            return {true, values};
        values.emplace_back(VELUDBFetchText(rows.get(), at, "value"));
        small = std::move(next);
    }
    if (values.size() > most) // some of the last one may be missing
        return {};
    return {true, values};
}

void GroupValuesPut(const std::vector<std::string> &values, const SearchOrderKey &group,
                    const SearchTarget &target, SqlText *query) {
    // The column by itself, of which a server knows how many rows have a value.
    const std::string name =
        QualifiedName(*target.table, FieldSourceOf(*group.field, *target.table, target.facts).column->name);
    AmongPut(&query->Add(" and (" + name), values);
    query->Add(std::ranges::find(values, "") != values.end() ? " or " + name + " is null)" : ")");
}
