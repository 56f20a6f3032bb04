// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/catalogue_reader.h"

#include <stdlib.h>

#include <algorithm>

#include "platform/veluindex.h"
#include "tools/veluctl/catalogue_advice.h"
#include "tools/veluctl/log_lines.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/sql_text.h"

namespace {

constexpr size_t kPortion = 500; // rows: enough that a server's round trip does not count

SqlText PortionQuery(const CatalogueTable &table, const std::vector<const char *> &columns,
                     const RowFilter &filter, const std::string &after) {
    SqlText query;
    query.Add("select ").Add(table.key).Add(" as row_key");
    for (const char *column : columns)
        query.Add(", ").Add(column);
    query.Add(" from ").Add(table.table).Add(" where ").Add(table.key).Add(" > ").Put(after);
    if (!filter.key.empty())
        query.Add(" and ").Add(table.key).Add(" = ").Put(filter.key);
    if (!filter.directory.empty())
        BelowPut(&query.Add(" and "), table.key, filter.directory);
    query.Add(" order by ").Add(table.key);
    return query;
}

} // namespace

void CatalogueFailureSet(CatalogueReader *reader, Catalogue catalogue, const std::string &reason) {
    reader->commands = CatalogueCommands(catalogue, reason);
    reader->failure = reason + CatalogueHint(catalogue, reason);
    reader->reason = reader->commands.empty() ? reader->failure : reason;
}

ExitCode FailureTell(const CatalogueReader &reader) {
    Complain(kUnreachable, reader.reason);
    if (!reader.commands.empty())
        Complain(kUnreachable, "it is damaged; a new one comes, and the old file is kept aside, by");
    for (const std::string &command : reader.commands)
        CommandTell(command);
    return kUnreachable;
}

VELUDB *CatalogueConnect(CatalogueReader *reader, Catalogue catalogue) {
    DatabaseHandle &database = reader->connections[static_cast<size_t>(catalogue)].database;
    if (database == nullptr) {
        LogLinesTake();
        database.reset(VELUIndexReaderOpen(catalogue));
        if (database == nullptr)
            CatalogueFailureSet(reader, catalogue, LogReasonTake());
    }
    return database.get();
}

void CatalogueDisconnect(CatalogueReader *reader, Catalogue catalogue) {
    reader->connections[static_cast<size_t>(catalogue)] = {};
}

ResultHandle CatalogueQuery(CatalogueReader *reader, Catalogue catalogue, const std::string &sql,
                            const std::vector<std::string> &values) {
    VELUDB *database = CatalogueConnect(reader, catalogue);
    if (database == nullptr)
        return nullptr;
    std::vector<VELUDBValue> parameters;
    for (const std::string &value : values)
        parameters.push_back(VELUDBValue::Text(value.data(), value.size()));
    std::map<std::string, int> &prepared = reader->connections[static_cast<size_t>(catalogue)].prepared;
    const auto known = prepared.find(sql);
    const int statement = known != prepared.end() ? known->second : VELUDBPrepare(database, sql.c_str());
    ResultHandle result;
    if (statement >= 0)
        result = VELUDBRunQuery(database, statement, parameters.data(), parameters.size());
    if (result == nullptr) {
        CatalogueFailureSet(reader, catalogue, VELUDBErrorGet(database));
        return nullptr;
    }
    prepared[sql] = statement;
    return result;
}

Value ValueTake(const ResultHandle &rows, int row, const char *column) {
    const char *field = VELUDBFetchField(rows.get(), row, column);
    return field != nullptr ? Value(field) : Value();
}

bool CatalogueRowsRead(CatalogueReader *reader, const CatalogueTable &table,
                       const std::vector<const char *> &columns, const RowFilter &filter,
                       const std::function<void(Row &)> &take) {
    std::string after;
    for (size_t left = filter.limit; left > 0;) {
        const size_t wanted = std::min(left, kPortion);
        const SqlText query = PortionQuery(table, columns, filter, after);
        const ResultHandle rows = CatalogueQuery(
            reader, table.catalogue, query.sql + " limit " + std::to_string(wanted), query.values);
        if (rows == nullptr)
            return false;
        for (int at = -1; VELUDBFetchRow(rows.get(), &at) == 0;) {
            after = VELUDBFetchText(rows.get(), at, "row_key");
            Row row;
            for (const char *column : columns)
                row.push_back(ValueTake(rows, at, column));
            take(row);
        }
        const auto got = static_cast<size_t>(VELUDBRowCount(rows.get()));
        if (got < wanted)
            return true;
        left -= got;
    }
    return true;
}

int64_t CatalogueCount(CatalogueReader *reader, const CatalogueTable &table) {
    const ResultHandle rows =
        CatalogueQuery(reader, table.catalogue, std::string("select count(*) as n from ") + table.table, {});
    const char *count = rows != nullptr ? VELUDBFetchField(rows.get(), 0, "n") : nullptr;
    return count != nullptr ? strtoll(count, nullptr, 10) : -1;
}
