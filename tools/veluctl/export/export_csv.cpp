// SPDX-License-Identifier: GPL-2.0-or-later
//
// An export for spreadsheets. Its columns are those that there may be, whatever the rows have, so that every export of a kind has
// the same.
#include <algorithm>

#include "reader/protocol/fact_names.h"
#include "tools/veluctl/export/export_writer.h"

namespace {

constexpr char kBetweenValues[] = "; ";
constexpr Column kKindColumn = {"kind", "", Type::text};
constexpr const char *kOfStates[] = {"added", "trouble"};

// Facts that the daemon finds beside a file.
constexpr const char *kBesideFiles[] = {"subtitle", "companion"};

std::vector<Column> ColumnsMake(const CatalogueTable &table, bool with_facts) {
    std::vector<Column> columns = {kKindColumn};
    columns.insert(columns.end(), table.columns.begin(), table.columns.end());
    if (!with_facts)
        return columns;
    for (const char *name : kOfStates)
        columns.push_back({name, "", Type::text});
    for (const FactKind &fact : kFacts)
        if (ColumnFind(table, fact.word) == nullptr)
            columns.push_back({fact.word, "", Type::text});
    for (const char *name : kBesideFiles)
        columns.push_back({name, "", Type::text});
    return columns;
}

class CsvRows : public ExportWriter {
public:
    CsvRows(const CatalogueTable &table, bool with_facts, FILE *out)
        : columns_(ColumnsMake(table, with_facts)), rows_(Form::csv, columns_, out) {}

    void Add(const CatalogueTable &table, const Row &row, const FileDetails *file) override {
        Row line = {table.kind};
        line.insert(line.end(), row.begin(), row.end());
        if (file != nullptr) {
            line.emplace_back(file->added);
            line.emplace_back(file->trouble);
        }
        const size_t facts = line.size();
        line.resize(columns_.size());
        if (file != nullptr)
            for (const auto &[name, value] : file->facts)
                FactPut(facts, name, value, &line);
        rows_.Add(line);
    }

private:
    void FactPut(size_t facts, const std::string &name, const std::string &value, Row *line) const {
        const auto found = std::find_if(columns_.begin() + static_cast<ptrdiff_t>(facts), columns_.end(),
                                        [&](const Column &column) { return name == column.name; });
        if (found == columns_.end())
            return;
        Value &cell = (*line)[static_cast<size_t>(found - columns_.begin())];
        cell = cell ? *cell + kBetweenValues + value : value;
    }

    std::vector<Column> columns_;
    RowWriter rows_;
};

} // namespace

std::unique_ptr<ExportWriter> CsvWriter(const CatalogueTable &table, bool with_facts, FILE *out) {
    return std::make_unique<CsvRows>(table, with_facts, out);
}
