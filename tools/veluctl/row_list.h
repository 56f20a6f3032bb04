// SPDX-License-Identifier: GPL-2.0-or-later
//
// A list of rows, whatever chose them.
#pragma once

#include <vector>

#include "tools/veluctl/tables.h"

// A list has one set of columns: tables that do not share theirs are listed alone.
bool TablesGoTogether(const std::vector<const CatalogueTable *> &tables);
inline constexpr char kTablesApart[] =
    "only the kinds music, video, photo and playlist go together in one list";

// A table for people has room for a few columns; programs get all. The kind comes first where it has to be told.
class RowList {
public:
    RowList(const std::vector<const CatalogueTable *> &tables, Form form);
    RowList(const RowList &) = delete;
    RowList &operator=(const RowList &) = delete;

    // Of the tables' columns, those that are shown.
    [[nodiscard]] const std::vector<const char *> &names() const { return names_; }
    [[nodiscard]] size_t count() const { return writer_.count(); }

    // Adds a row that has these columns.
    void Add(const CatalogueTable &table, const Row &row);
    void End() { writer_.End(); }

private:
    std::vector<Column> columns_;
    std::vector<const char *> names_;
    RowWriter writer_;
};
