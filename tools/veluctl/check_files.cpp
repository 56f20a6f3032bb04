// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is known of files against the rows that it belongs to.
#include <stdlib.h>

#include <string>

#include "catalogue/file_trouble.h"
#include "daemon/queue_line.h"
#include "platform/index/schema.h"
#include "platform/veluindex.h"
#include "tools/veluctl/check.h"
#include "tools/veluctl/file_facts.h"

namespace {

// The daemon mends all of it at once.
std::string Repair() {
    return RepairLine(kCommandTruncate, kFileStateTable);
}

// Calls `take` with each row of a query that has a path, by paths. False when the catalogue cannot be read.
template <typename Take>
bool PathsEach(CatalogueReader *reader, const std::string &sql, Take take) {
    constexpr int kPortion = 500;
    std::string last;
    for (int count = kPortion; count == kPortion;) {
        const ResultHandle rows =
            CatalogueQuery(reader, Catalogue::media,
                           sql + " and path > $1 order by path limit " + std::to_string(kPortion), {last});
        if (rows == nullptr)
            return false;
        count = VELUDBRowCount(rows.get());
        for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;) {
            last = VELUDBFetchField(rows.get(), row, "path");
            take(last, rows, row);
        }
    }
    return true;
}

// Adds a finding for each path that a query gives. False likewise.
bool PathsFind(CatalogueReader *reader, const char *problem, const std::string &sql,
               std::vector<Finding> *findings) {
    return PathsEach(reader, sql, [&](const std::string &path, const ResultHandle &, int) {
        findings->push_back({problem, path, Repair(), {}});
    });
}

int64_t Number(CatalogueReader *reader, const std::string &sql) {
    const ResultHandle rows = CatalogueQuery(reader, Catalogue::media, sql, {});
    return rows != nullptr ? strtoll(VELUDBFetchField(rows.get(), 0, "n"), nullptr, 10) : -1;
}

std::string InNoTable() {
    std::string text;
    for (const char *table : kMediaTables)
        text += std::string(text.empty() ? "" : " and ") + "not exists (select 1 from " + table +
                " t where t.path = file_state.path)";
    return text;
}

} // namespace

bool DamageMark(CatalogueReader *reader, std::vector<CheckedRow> *rows) {
    if (const int there = FileTablesLook(reader); there <= 0)
        return there == 0;
    return PathsEach(reader, "select path, trouble from file_state where trouble <> ''",
                     [&](const std::string &path, const ResultHandle &states, int at) {
                         CheckedRow *row = CheckedRowFind(rows, path);
                         // What is tried again may have been the machine's fault.
                         if (row != nullptr && TroubleHolds(VELUDBFetchText(states.get(), at, "trouble")))
                             row->damaged = true;
                     });
}

bool FilesCheck(CatalogueReader *reader, std::vector<Finding> *findings) {
    if (const int there = FileTablesLook(reader); there <= 0)
        return there == 0;
    if (!PathsFind(reader, kStateWithoutRow, "select path from file_state where " + InNoTable(), findings))
        return false;
    for (const char *table : kMediaTables) {
        const std::string name = table;
        if (!PathsFind(reader, kRowWithoutState,
                       "select path from " + name +
                           " where not exists (select 1 from file_state s where s.path = " + name + ".path)",
                       findings))
            return false;
    }
    for (const char *table : {"file_fact", "file_entry"}) {
        const int64_t lost = Number(
            reader, std::string("select count(distinct file) as n from ") + table +
                        " where not exists (select 1 from file_state s where s.id = " + table + ".file)");
        if (lost < 0)
            return false;
        if (lost > 0)
            findings->push_back({kFactWithoutFile, table, Repair(), {}});
    }
    return true;
}
