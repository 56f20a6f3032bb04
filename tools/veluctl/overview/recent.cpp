// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl recent: what came last.
#include <algorithm>

#include "tools/queue/request_path.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"

namespace {

constexpr uint32_t kUsual = 20; // a screenful

constexpr Column kAdded = {"added", "ADDED", Type::text};
constexpr Column kKindShown = {"kind", "KIND", Type::text};
constexpr const char *kBrief[] = {"title", "path"};

std::vector<Column> ColumnsOf(const CatalogueTable &table, Form form) {
    std::vector<Column> columns = {kAdded, kKindShown};
    if (form != Form::table)
        columns.insert(columns.end(), table.columns.begin(), table.columns.end());
    else
        for (const char *name : kBrief)
            columns.push_back(ColumnOf(table, name));
    return columns;
}

// Without file states, the time of the last change of its status comes nearest to when a file came. Playlists have that in
// a form without an order.
SqlText RecentQuery(const CatalogueTable &table, std::span<const Column> columns,
                    const std::string &directory, bool states) {
    SqlText query;
    query.Add(states ? "select s.added as added, '" : "select m.create_time as added, '");
    query.Add(table.kind).Add("' as kind");
    for (const Column &column : columns.subspan(2))
        query.Add(", m.").Add(column.name).Add(" as ").Add(column.name);
    query.Add(" from ").Add(table.table).Add(" m");
    query.Add(states ? " join file_state s on s.path = m.path where s.added <> ''"
                     : " where m.create_time >= '1' and m.create_time < ':'");
    if (!directory.empty())
        BelowPut(&query.Add(" and "), "m.path", directory);
    return query.Add(" order by 1 desc, m.path");
}

bool IsAsked(const CatalogueTable &table, const Options &options) {
    return table.is_media &&
           (options.kinds.empty() || std::ranges::find(options.kinds, table.kind) != options.kinds.end());
}

} // namespace

ExitCode RecentCommand(const Options &options) {
    CatalogueReader reader;
    const int states = FileTablesLook(&reader);
    if (states < 0)
        return Complain(kUnreachable, reader.failure);
    if (states == 0)
        Complain(kDone, "the rules appliance do not keep when a file was added: these are by the last change "
                        "of their status, "
                        "without playlists");
    const std::string directory = options.directory.empty() ? "" : RequestPathMake(options.directory);
    const uint32_t limit = options.limit != kEveryRow ? options.limit : kUsual;
    std::vector<Row> rows;
    std::vector<Column> columns;
    for (const CatalogueTable &table : CatalogueTables()) {
        if (!IsAsked(table, options))
            continue;
        columns = ColumnsOf(table, options.form());
        SqlText query = RecentQuery(table, columns, directory, states == 1);
        LimitPut(&query, limit);
        if (!QueryRowsTake(&reader, query, columns, [&](Row &row) { rows.push_back(std::move(row)); }))
            return Complain(kUnreachable, reader.failure);
    }
    if (columns.empty())
        return Complain(kUsage, "only files of the kinds music, video, photo and playlist are recent");
    std::ranges::stable_sort(rows, std::ranges::greater(),
                             [](const Row &row) { return row.front().value_or(""); });
    rows.resize(std::min<size_t>(rows.size(), limit));
    RowWriter writer(options.form(), columns, stdout);
    for (const Row &row : rows)
        writer.Add(row);
    writer.End();
    return ListEnd(writer.count(), options);
}
