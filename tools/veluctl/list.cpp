// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl list and veluctl find: rows of the catalogue by kind, directory and text.
#include <algorithm>
#include <deque>

#include "tools/queue/request_path.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/groups.h"

namespace {

constexpr Column kKind = {"kind", "KIND", Type::text};

// The tables that are asked for: the media tables unless others are named, which then are alone, because a
// list has one set of columns.
bool TablesChoose(const Options &options, std::vector<const CatalogueTable *> *tables) {
    for (const CatalogueTable &table : CatalogueTables()) {
        const bool named =
            std::find(options.kinds.begin(), options.kinds.end(), table.kind) != options.kinds.end();
        if (named || (options.kinds.empty() && table.is_media))
            tables->push_back(&table);
    }
    return tables->size() == 1 || std::all_of(tables->begin(), tables->end(),
                                              [](const CatalogueTable *table) { return table->is_media; });
}

// A table for people has room for a few columns; programs get all.
std::vector<Column> ColumnsChoose(const std::vector<const CatalogueTable *> &tables, Form form) {
    const CatalogueTable &first = *tables.front();
    std::vector<Column> columns;
    if (tables.size() > 1 || form != Form::table)
        columns.push_back(kKind);
    if (form == Form::table) {
        for (const char *name : first.brief)
            columns.push_back(ColumnOf(first, name));
    } else {
        columns.insert(columns.end(), first.columns.begin(), first.columns.end());
    }
    return columns;
}

} // namespace

ExitCode ListCommand(const Options &options) {
    if (!options.what.empty())
        return GroupsList(options);
    std::vector<const CatalogueTable *> tables;
    if (!TablesChoose(options, &tables))
        return Complain(kUsage, "only the kinds music, video, photo and playlist go together in one list");
    RowFilter filter;
    filter.text = options.text;
    filter.limit = options.limit;
    if (!options.directory.empty()) {
        if (!tables.front()->keeps_paths)
            return Complain(kUsage,
                            std::string(tables.front()->kind) + " rows have no path: --dir does not apply");
        filter.directory = RequestPathMake(options.directory);
    }
    const std::vector<Column> columns = ColumnsChoose(tables, options.form());
    const bool with_kind = columns.front().name == kKind.name;
    std::vector<const char *> names;
    for (const Column &column : columns) {
        if (column.name != kKind.name)
            names.push_back(column.name);
    }
    CatalogueReader reader;
    if (CatalogueConnect(&reader, tables.front()->catalogue) == nullptr)
        return Complain(kUnreachable, reader.failure);
    RowWriter writer(options.form(), columns, stdout);
    for (const CatalogueTable *table : tables) {
        const bool read = CatalogueRowsRead(&reader, *table, names, filter, [&](Row &row) {
            if (with_kind)
                row.insert(row.begin(), Value(table->kind));
            writer.Add(row);
        });
        if (!read) {
            writer.End();
            return Complain(kUnreachable, reader.failure);
        }
        filter.limit = options.limit - writer.count();
    }
    writer.End();
    if (writer.count() > 0 || options.limit == 0)
        return kDone;
    if (options.form() == Form::table)
        fputs("No rows.\n", stderr);
    return kFound;
}
