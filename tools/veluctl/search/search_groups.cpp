// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_groups.h"

#include <algorithm>

#include "tools/veluctl/search/group_values.h"
#include "tools/veluctl/search/search_source.h"

namespace {

constexpr Column kFiles = {kFilesField.name, "FILES", Type::integer};
constexpr const char *kSums[] = {"duration", "file_size"};

Type TypeOf(FieldKind kind) {
    switch (kind) {
    case FieldKind::number:
    case FieldKind::flag:
        return Type::real;
    case FieldKind::year:
        return Type::integer;
    case FieldKind::seconds:
        return Type::seconds;
    case FieldKind::bytes:
        return Type::bytes;
    case FieldKind::resolution:
        return Type::lines;
    case FieldKind::boolean:
        return Type::boolean;
    case FieldKind::path:
        return Type::path;
    case FieldKind::date:
        return Type::moment;
    case FieldKind::text:
        break;
    }
    return Type::text;
}

Column ColumnOfField(const SearchField &field, const SearchTarget &target) {
    const FieldSource source = FieldSourceOf(field, *target.table, target.facts);
    if (source.column != nullptr)
        return {field.name, source.column->heading, source.column->type};
    return {field.name, field.name, TypeOf(source.kind)};
}

// A file with several values counts with each of them, where no other field is asked for.
bool IsOfEachValue(const std::vector<SearchOrderKey> &groups, const SearchTarget &target) {
    const SearchField &field = *groups.front().field;
    return groups.size() == 1 && field.several &&
           FieldSourceOf(field, *target.table, target.facts).place == FieldPlace::fact;
}

std::string Name(const char *what, size_t number) {
    return what + std::to_string(number);
}

bool ValuesPut(const std::vector<SearchOrderKey> &groups, const SearchTarget &target, SqlText *query,
               SearchProblem *problem) {
    for (size_t i = 0; i < groups.size(); ++i) {
        if (!SearchValuePut(groups, i, target, false, query, problem))
            return false;
        query->Add(" as " + Name("value", i) + ", ");
    }
    return true;
}

SearchEnd RowsPut(const Search &search, const std::vector<SearchOrderKey> &groups, const GroupValues &values,
                  const SearchTarget &target, SqlText *query, SearchProblem *problem) {
    query->Add("select ");
    if (!ValuesPut(groups, target, query, problem))
        return SearchEnd::wrong_group;
    for (const char *sum : kSums) {
        if (ColumnFind(*target.table, sum) != nullptr)
            query->Add(QualifiedName(*target.table, sum)).Add(" as ").Add(sum).Add(", ");
    }
    query->Add("1 as one");
    if (!SearchRowsPut(search, target, groups, IsOfEachValue(groups, target), query, problem))
        return SearchEnd::wrong;
    if (values.first)
        GroupValuesPut(*values.first, groups.front(), target, query);
    return SearchEnd::done;
}

// By which of an answer's columns it is sorted: its name in the statement, or nothing.
std::string SortName(const SearchOrderKey &key, const std::vector<SearchOrderKey> &groups,
                     const std::vector<Column> &columns) {
    for (size_t i = 0; i < groups.size(); ++i) {
        if (groups[i].field == key.field)
            return TypeIsText(columns[i].type) ? "lower(" + Name("value", i) + ")" : Name("value", i);
    }
    for (size_t i = groups.size(); i < columns.size(); ++i) {
        if (std::string_view(columns[i].name) == key.field->name ||
            (key.field->column != nullptr && std::string_view(columns[i].name) == key.field->column))
            return Name("sum", i);
    }
    return {};
}

bool OrderPut(const Search &search, const std::vector<SearchOrderKey> &groups,
              const std::vector<Column> &columns, SqlText *query, SearchProblem *problem) {
    query->Add(" order by ");
    for (const SearchOrderKey &key : search.sort) {
        const std::string name = SortName(key, groups, columns);
        if (name.empty())
            return SearchWrong(problem,
                               std::string("groups have no ") + key.field->name +
                                   ": sort by their fields, files, duration or file_size",
                               key.place);
        query->Add(name).Add(key.descending ? " desc, " : ", ");
    }
    for (size_t i = 0; i < groups.size(); ++i)
        query->Add(i == 0 ? "" : ", ").Add(SortName(groups[i], groups, columns));
    return true;
}

} // namespace

std::vector<Column> SearchGroupColumns(const Search &search, std::vector<SearchOrderKey> *groups) {
    const SearchTarget &target = search.targets.front();
    const SearchField *album_artist = SearchFieldFind("albumartist");
    const auto has = [&](std::string_view name) {
        return std::any_of(groups->begin(), groups->end(),
                           [&](const SearchOrderKey &group) { return name == group.field->name; });
    };
    if (has("album") && !has("albumartist") && target.table->is_media && target.facts)
        groups->push_back({album_artist, groups->front().place, false});
    std::vector<Column> columns;
    for (const SearchOrderKey &group : *groups)
        columns.push_back(ColumnOfField(*group.field, target));
    columns.push_back(kFiles);
    for (const char *sum : kSums) {
        if (ColumnFind(*target.table, sum) != nullptr)
            columns.push_back(ColumnOf(*target.table, sum));
    }
    return columns;
}

SearchEnd SearchGroupsRead(CatalogueReader *reader, const Search &search,
                           const std::vector<SearchOrderKey> &groups, const std::vector<Column> &columns,
                           SearchProblem *problem, const std::function<void(Row &)> &take) {
    const GroupValues values = GroupValuesRead(reader, search, groups);
    if (!values.read)
        return SearchEnd::unreachable;
    SqlText query;
    query.Add("select ");
    for (size_t i = 0; i < columns.size(); ++i) {
        if (i < groups.size())
            query.Add(Name("value", i));
        else if (columns[i].name == kFiles.name)
            query.Add("count(*) as " + Name("sum", i));
        else
            query.Add(std::string("sum(") + columns[i].name + ") as " + Name("sum", i));
        query.Add(i + 1 < columns.size() ? ", " : " from (");
    }
    for (const SearchTarget &target : search.targets) {
        query.Add(&target == search.targets.data() ? "" : " union all ");
        const SearchEnd end = RowsPut(search, groups, values, target, &query, problem);
        if (end != SearchEnd::done)
            return end;
    }
    query.Add(") found group by ");
    for (size_t i = 0; i < groups.size(); ++i)
        query.Add(i == 0 ? "" : ", ").Add(Name("value", i));
    if (!OrderPut(search, groups, columns, &query, problem))
        return SearchEnd::wrong_sort;
    if (search.limit != SIZE_MAX)
        query.Add(" limit " + std::to_string(search.limit));
    const ResultHandle rows =
        CatalogueQuery(reader, search.targets.front().table->catalogue, query.sql, query.values);
    if (rows == nullptr)
        return SearchEnd::unreachable;
    for (int at = -1; VELUDBFetchRow(rows.get(), &at) == 0;) {
        Row row;
        for (size_t i = 0; i < columns.size(); ++i)
            row.push_back(ValueTake(rows, at, Name(i < groups.size() ? "value" : "sum", i).c_str()));
        take(row);
    }
    return SearchEnd::done;
}
