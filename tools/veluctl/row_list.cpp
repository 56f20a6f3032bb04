// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/row_list.h"

#include <stdio.h>

#include <algorithm>

#include "tools/veluctl/search/search_fields.h"

namespace {

// Rows that are looked at before the columns are chosen, and whose facts are read by one statement.
constexpr size_t kRowsTogether = 500;

bool IsFilm(const CatalogueTable &table) {
    return table.kind == kKindOfFilms;
}

} // namespace

bool TablesGoTogether(const std::vector<const CatalogueTable *> &tables) {
    return tables.size() == 1 || std::all_of(tables.begin(), tables.end(),
                                             [](const CatalogueTable *table) { return table->is_media; });
}

RowList::RowList(CatalogueReader *reader, const std::vector<SearchTarget> &targets, Form form,
                 const char *front)
    : reader_(reader), targets_(targets), form_(form), front_(front) {
    const auto need = [&](const ListColumn &column) {
        for (const char *name : column.columns)
            if (std::ranges::find(names_, std::string_view(name)) == names_.end())
                names_.push_back(name);
    };
    if (form_ != Form::table) {
        ColumnsChoose(true);
        std::ranges::for_each(columns_, need);
        return;
    }
    need(ListColumnOf(*targets_.front().table, targets_.front().table->key));
    for (const SearchTarget &target : targets_)
        std::ranges::for_each(Brief(target.table), need);
    if (targets_.size() > 1)
        std::ranges::for_each(Brief(nullptr), need);
}

// The columns for people of a kind, or of several.
std::vector<ListColumn> RowList::Brief(const CatalogueTable *table) const {
    const SearchTarget &first = targets_.front();
    const std::span<const char *const> names =
        table != nullptr ? table->brief : std::span<const char *const>(kMixedBrief);
    std::vector<ListColumn> columns;
    if (front_ != nullptr)
        columns.push_back(ListColumnOf(*first.table, front_));
    for (const char *name : names) {
        ListColumn column = ListColumnOf(table != nullptr ? *table : *first.table, name);
        if (first.facts || !column.only_with_facts)
            columns.push_back(std::move(column));
    }
    return columns;
}

// `is_all`: no more rows will come.
void RowList::ColumnsChoose(bool is_all) {
    const CatalogueTable &first = *targets_.front().table;
    if (form_ != Form::table) {
        if (front_ != nullptr)
            columns_.push_back(ListColumnOf(first, front_));
        columns_.push_back(ListColumnOf(first, "kind"));
        for (const Column &column : first.columns)
            columns_.push_back(ListColumnOf(first, column.name));
    } else {
        const CatalogueTable *only = waiting_.empty() ? &first : waiting_.front().table;
        const bool is_one_kind =
            targets_.size() == 1 ||
            (is_all && std::ranges::all_of(waiting_, [&](const Waiting &one) { return one.table == only; }));
        columns_ = Brief(is_one_kind ? only : nullptr);
    }
    for (const ListColumn &column : columns_)
        shown_.push_back(column.shown);
    writer_.emplace(form_, shown_, stdout);
}

void RowList::Add(const CatalogueTable &table, Row &row) {
    ++count_;
    waiting_.push_back({&table, std::move(row)});
    if (waiting_.size() == kRowsTogether)
        Flush(false);
}

bool RowList::DetailsRead(FileDetailsOf *known) {
    ListNeeds needs = ListNeeds::nothing;
    for (const ListColumn &column : columns_)
        needs = std::max(needs, column.needs);
    if (needs == ListNeeds::nothing || !targets_.front().facts)
        return true;
    std::vector<std::string> paths;
    for (const Waiting &one : waiting_) {
        const ListedFile file = {one.table, names_, one.row, {}};
        if (needs == ListNeeds::all || IsFilm(*one.table))
            paths.push_back(file.Column(one.table->key).value_or(""));
    }
    return FileDetailsRead(reader_, paths, known);
}

void RowList::Flush(bool is_all) {
    if (!writer_)
        ColumnsChoose(is_all);
    FileDetailsOf known;
    failed_ = failed_ || !DetailsRead(&known);
    for (const Waiting &one : waiting_) {
        const Value path = ListedFile{one.table, names_, one.row, {}}.Column(one.table->key);
        const ListedFile file = {one.table, names_, one.row, known[path.value_or("")]};
        Row shown;
        for (const ListColumn &column : columns_)
            shown.push_back(column.make != nullptr ? column.make(file) : file.Column(column.shown.name));
        if (!failed_)
            writer_->Add(shown);
    }
    waiting_.clear();
}

bool RowList::End() {
    Flush(true);
    writer_->End();
    return !failed_;
}
