// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is found is read in two steps: the keys, which the database puts in order, then the rows of some of them at a time. So
// neither a sort nor the memory depends on how much is shown of each row.
#include <stdlib.h>

#include <algorithm>
#include <map>

#include "platform/media_record.h"
#include "tools/veluctl/search/search.h"
#include "tools/veluctl/search/search_sql.h"

namespace {

// Keys: some MB of them. What is found in a large catalogue is mostly less.
constexpr size_t kKeysPortion = 20'000;

// Some screenfuls.
constexpr size_t kFew = 200;

// Rows, as a list has them.
constexpr size_t kRowsPortion = 500;

struct FoundKey {
    const CatalogueTable *table;
    std::string key;
};
using FoundKeys = std::vector<FoundKey>;

struct Reading {
    CatalogueReader *reader;
    const Search &search;
    const std::vector<const char *> &columns;
    SearchProblem *problem;
    const std::function<void(const CatalogueTable &, Row &)> &take;
};

SearchEnd KeysRead(const Reading &reading, const SqlText &query, FoundKeys *keys) {
    const std::vector<SearchTarget> &targets = reading.search.targets;
    const ResultHandle rows =
        CatalogueQuery(reading.reader, targets.front().table->catalogue, query.sql, query.values);
    if (rows == nullptr)
        return SearchEnd::unreachable;
    for (int at = -1; VELUDBFetchRow(rows.get(), &at) == 0;) {
        const size_t table = strtoul(VELUDBFetchText(rows.get(), at, "place"), nullptr, 10);
        keys->push_back({targets[table].table, VELUDBFetchText(rows.get(), at, "row_key")});
    }
    return SearchEnd::done;
}

std::string Limit(size_t rows) {
    return rows == SIZE_MAX ? "" : " limit " + std::to_string(rows);
}

// Every row, or those that came at a time: what came last is most of what is found.
bool IsOfTime(const SearchNode &node) {
    return node.kind == SearchNode::Kind::field
               ? SearchFieldFind(node.name) == SearchFieldFind("added")
               : node.kind == SearchNode::Kind::all_of && std::ranges::all_of(node.parts, IsOfTime);
}

// Since when the files came of which more are known than are wanted. Empty where another order is asked for, or not all of them.
SearchEnd LatestSince(const Reading &reading, size_t most, std::string *since) {
    const Search &search = reading.search;
    const bool of_all = IsOfTime(search.tree) && search.directory.empty() && most <= kFew &&
                        search.targets.size() == std::size(kMediaTables);
    if (!of_all || !search.targets.front().facts || search.sort.size() != 1 ||
        !search.sort.front().descending || search.sort.front().field != SearchFieldFind("added"))
        return SearchEnd::done;
    // Directories have states, too.
    constexpr size_t kStatesARow = 2;
    const std::string sql =
        "select min(added) as since from (select added from file_state order by added desc" +
        Limit(kStatesARow * most) + ") as latest";
    const ResultHandle rows = CatalogueQuery(reading.reader, Catalogue::media, sql, {});
    if (rows == nullptr)
        return SearchEnd::unreachable;
    *since = VELUDBFetchText(rows.get(), 0, "since");
    return SearchEnd::done;
}

// The first keys of all tables together, of files alone that came since then; empty: whenever.
SearchEnd FirstKeysRead(const Reading &reading, const std::string &since, size_t most, FoundKeys *keys) {
    const Search &search = reading.search;
    SqlText query;
    query.Add("select place, row_key from (");
    for (size_t table = 0; table < search.targets.size(); ++table) {
        const SearchTarget &target = search.targets[table];
        query.Add(table == 0 ? "select " : " union all select ").Add(std::to_string(table));
        query.Add(" as place, ").Add(QualifiedName(*target.table, target.table->key)).Add(" as row_key");
        for (size_t i = 0; i < search.sort.size(); ++i) {
            query.Add(", ");
            if (!SearchValuePut(search.sort, i, target, true, &query, reading.problem))
                return SearchEnd::wrong_sort;
            query.Add(" as sort" + std::to_string(i));
        }
        if (!SearchRowsPut(search, target, search.sort, false, &query, reading.problem))
            return SearchEnd::wrong;
        if (!since.empty())
            query.Add(" and file_state.added >= ").Put(since);
    }
    query.Add(") found order by ");
    for (size_t i = 0; i < search.sort.size(); ++i)
        query.Add("sort" + std::to_string(i)).Add(search.sort[i].descending ? " desc, " : ", ");
    query.Add("place, row_key" + Limit(most));
    return KeysRead(reading, query, keys);
}

SearchEnd FirstKeysRead(const Reading &reading, size_t most, FoundKeys *keys) {
    std::string since;
    SearchEnd end = LatestSince(reading, most, &since);
    if (end == SearchEnd::done)
        end = FirstKeysRead(reading, since, most, keys);
    if (end != SearchEnd::done || since.empty() || keys->size() == most)
        return end;
    keys->clear();
    return FirstKeysRead(reading, "", most, keys);
}

// The next ones behind a key of one of the tables, in the order of the tables' keys.
SearchEnd NextKeysRead(const Reading &reading, const FoundKey &after, size_t most, FoundKeys *keys) {
    const std::vector<SearchTarget> &targets = reading.search.targets;
    size_t table = 0;
    while (targets[table].table != after.table)
        ++table;
    std::string key = after.key;
    for (; table < targets.size() && keys->size() < most; ++table, key.clear()) {
        const std::string name = QualifiedName(*targets[table].table, targets[table].table->key);
        SqlText query;
        query.Add("select ").Add(std::to_string(table)).Add(" as place, ").Add(name).Add(" as row_key");
        if (!SearchRowsPut(reading.search, targets[table], {}, false, &query, reading.problem))
            return SearchEnd::wrong;
        query.Add(" and ").Add(name).Add(" > ").Put(key).Add(" order by ").Add(name);
        query.Add(Limit(most - keys->size()));
        if (const SearchEnd end = KeysRead(reading, query, keys); end != SearchEnd::done)
            return end;
    }
    return SearchEnd::done;
}

// The rows of some keys of a table. What is gone meanwhile is left out.
bool RowsOfTable(const Reading &reading, const CatalogueTable &table, std::vector<std::string> keys,
                 std::map<std::string, Row> *rows) {
    // Statements are kept: there are few numbers of parameters.
    size_t count = 1;
    while (count < keys.size())
        count *= 2;
    keys.resize(count, keys.back());
    SqlText query;
    query.Add("select ").Add(table.key).Add(" as row_key");
    for (const char *column : reading.columns)
        query.Add(", ").Add(column);
    query.Add(" from ").Add(table.table).Add(" where ").Add(table.key);
    AmongPut(&query, keys);
    const ResultHandle found = CatalogueQuery(reading.reader, table.catalogue, query.sql, query.values);
    if (found == nullptr)
        return false;
    for (int at = -1; VELUDBFetchRow(found.get(), &at) == 0;) {
        Row row;
        for (const char *column : reading.columns)
            row.push_back(ValueTake(found, at, column));
        (*rows)[VELUDBFetchText(found.get(), at, "row_key")] = std::move(row);
    }
    return true;
}

bool PortionTake(const Reading &reading, const FoundKey *begin, const FoundKey *end) {
    std::map<const CatalogueTable *, std::vector<std::string>> keys;
    for (const FoundKey *one = begin; one != end; ++one)
        keys[one->table].push_back(one->key);
    std::map<const CatalogueTable *, std::map<std::string, Row>> rows;
    for (auto &[table, wanted] : keys) {
        if (!RowsOfTable(reading, *table, std::move(wanted), &rows[table]))
            return false;
    }
    for (const FoundKey *one = begin; one != end; ++one) {
        const auto row = rows[one->table].find(one->key);
        if (row != rows[one->table].end())
            reading.take(*one->table, row->second);
    }
    return true;
}

SearchEnd RowsTake(const Reading &reading, const FoundKeys &keys) {
    for (size_t at = 0; at < keys.size(); at += kRowsPortion) {
        const size_t count = std::min(kRowsPortion, keys.size() - at);
        if (!PortionTake(reading, keys.data() + at, keys.data() + at + count))
            return SearchEnd::unreachable;
    }
    return SearchEnd::done;
}

} // namespace

bool SearchRowsPut(const Search &search, const SearchTarget &target,
                   const std::vector<SearchOrderKey> &joined, bool each_value, SqlText *query,
                   SearchProblem *problem) {
    query->Add(" from ").Add(target.table->table);
    SearchTarget with_joins = target;
    SearchJoinsPut(joined, &with_joins, each_value, query);
    query->Add(" where ");
    if (!search.directory.empty()) {
        BelowPut(query, QualifiedName(*target.table, target.table->key), search.directory);
        query->Add(" and ");
    }
    query->Add("(");
    const bool put = SearchConditionPut(search.tree, with_joins, query, problem);
    query->Add(")");
    return put;
}

SearchEnd SearchCount(CatalogueReader *reader, const Search &search, int64_t *count, SearchProblem *problem) {
    *count = 0;
    for (const SearchTarget &target : search.targets) {
        SqlText query;
        query.Add("select count(*) as n");
        if (!SearchRowsPut(search, target, {}, false, &query, problem))
            return SearchEnd::wrong;
        const ResultHandle rows = CatalogueQuery(reader, target.table->catalogue, query.sql, query.values);
        if (rows == nullptr)
            return SearchEnd::unreachable;
        *count += strtoll(VELUDBFetchText(rows.get(), 0, "n"), nullptr, 10);
    }
    return SearchEnd::done;
}

SearchEnd SearchRowsRead(CatalogueReader *reader, const Search &search,
                         const std::vector<const char *> &columns, SearchProblem *problem,
                         const std::function<void(const CatalogueTable &, Row &)> &take) {
    const Reading reading = {reader, search, columns, problem, take};
    const bool in_portions = search.sort.empty();
    size_t left = search.limit;
    // An engine stops at so few, or takes every row, where it goes by the tables' own order, in which it would look at all of them more
    // slowly.
    const bool few = in_portions && (left <= kFew || search.IsEverything());
    FoundKeys keys;
    SearchEnd end =
        few ? NextKeysRead(reading, {search.targets.front().table, ""}, std::min(kKeysPortion, left), &keys)
            : FirstKeysRead(reading, in_portions ? std::min(kKeysPortion, left) : left, &keys);
    while (end == SearchEnd::done && !keys.empty()) {
        end = RowsTake(reading, keys);
        left -= keys.size();
        if (end != SearchEnd::done || !in_portions || keys.size() < kKeysPortion || left == 0)
            return end;
        const FoundKey last = keys.back();
        keys.clear();
        end = NextKeysRead(reading, last, std::min(kKeysPortion, left), &keys);
    }
    return end;
}
