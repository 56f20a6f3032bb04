// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/row_list.h"

#include <stdio.h>

#include <algorithm>

namespace {

constexpr Column kKind = {"kind", "KIND", Type::text};

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

std::vector<const char *> NamesOf(const std::vector<Column> &columns) {
    std::vector<const char *> names;
    for (const Column &column : columns) {
        if (column.name != kKind.name)
            names.push_back(column.name);
    }
    return names;
}

} // namespace

bool TablesGoTogether(const std::vector<const CatalogueTable *> &tables) {
    return tables.size() == 1 || std::all_of(tables.begin(), tables.end(),
                                             [](const CatalogueTable *table) { return table->is_media; });
}

RowList::RowList(const std::vector<const CatalogueTable *> &tables, Form form)
    : columns_(ColumnsChoose(tables, form)), names_(NamesOf(columns_)), writer_(form, columns_, stdout) {}

void RowList::Add(const CatalogueTable &table, const Row &row) {
    Row shown;
    shown.reserve(columns_.size());
    if (columns_.size() > names_.size())
        shown.emplace_back(table.kind);
    shown.insert(shown.end(), row.begin(), row.end());
    writer_.Add(shown);
}
