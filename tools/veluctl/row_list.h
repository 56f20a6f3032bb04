// SPDX-License-Identifier: GPL-2.0-or-later
//
// A list of rows, whatever chose them.
#pragma once

#include <optional>
#include <vector>

#include "tools/veluctl/listed_file.h"
#include "tools/veluctl/search/search_target.h"

// A list has one set of columns: tables that do not share theirs are listed alone.
bool TablesGoTogether(const std::vector<const CatalogueTable *> &tables);
inline constexpr char kTablesApart[] =
    "only the kinds music, video, photo and playlist go together in one list";

// A table for people has room for a few columns: those of the one kind that is found, or what several have in common. Programs get all
// columns, behind the kind.
class RowList {
public:
    // `front`: the name of a column that comes first; none: null.
    RowList(CatalogueReader *reader, const std::vector<SearchTarget> &targets, Form form, const char *front);
    RowList(const RowList &) = delete;
    RowList &operator=(const RowList &) = delete;

    // Of the tables' columns, those that are needed.
    [[nodiscard]] const std::vector<const char *> &names() const { return names_; }
    [[nodiscard]] size_t count() const { return count_; }

    // Adds a row that has these columns.
    void Add(const CatalogueTable &table, Row &row);
    // False, with the reason in the reader, when what is shown could not all be read.
    [[nodiscard]] bool End();

private:
    struct Waiting {
        const CatalogueTable *table;
        Row row;
    };

    [[nodiscard]] std::vector<ListColumn> Brief(const CatalogueTable *table) const;
    void ColumnsChoose(bool is_all);
    [[nodiscard]] bool DetailsRead(FileDetailsOf *known);
    void Flush(bool is_all);

    CatalogueReader *reader_;
    const std::vector<SearchTarget> &targets_;
    Form form_;
    const char *front_;
    std::vector<const char *> names_;
    std::vector<ListColumn> columns_; // none until it is known which kinds there are
    std::vector<Column> shown_;
    std::optional<RowWriter> writer_;
    std::vector<Waiting> waiting_;
    size_t count_ = 0;
    bool failed_ = false;
};
