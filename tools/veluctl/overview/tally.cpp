// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/tally.h"

#include <math.h>
#include <stdlib.h>

namespace {

constexpr int kExtensionMax = 5;     // letters; none that the daemon knows has more than four
constexpr size_t kGroupsMax = 20000; // whatever a program has written into the catalogue

double RealOf(const VELUDBResult *rows, int row, const char *column) {
    const double value = strtod(VELUDBFetchText(rows, row, column), nullptr);
    return isfinite(value) ? value : 0;
}

int64_t IntegerOf(const VELUDBResult *rows, int row, const char *column) {
    return strtoll(VELUDBFetchText(rows, row, column), nullptr, 10);
}

ResultHandle RowsTake(TallyReader *tallies, const std::string &sql) {
    if (tallies->failed)
        return nullptr;
    ResultHandle rows = CatalogueQuery(tallies->reader, Catalogue::media, sql, {});
    tallies->failed = rows == nullptr;
    return rows;
}

Tally GroupsTake(TallyReader *tallies, const std::string &select, size_t limit) {
    const ResultHandle rows = RowsTake(tallies, select + " group by 1 order by 2 desc, 1 limit " +
                                                    std::to_string(limit != 0 ? limit : kGroupsMax));
    Tally tally;
    for (int at = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &at) == 0;) {
        tally.groups.push_back({VELUDBFetchText(rows.get(), at, "name"), IntegerOf(rows.get(), at, "files"),
                                RealOf(rows.get(), at, "bytes"), RealOf(rows.get(), at, "seconds")});
        tally.groups_in_all = IntegerOf(rows.get(), at, "groups_in_all");
    }
    return tally;
}

void Order(TallyReader *tallies, const char *sql) {
    VELUDB *database = CatalogueConnect(tallies->reader, Catalogue::media);
    if (database == nullptr) {
        tallies->failed = true;
    } else if (!tallies->failed && VELUDBExecute(database, sql, nullptr) < 0) {
        tallies->failed = true;
        tallies->reader->failure = VELUDBErrorGet(database);
    }
}

} // namespace

// Sums are real: those of a server's integers have a type of their own, those of SQLite may overflow.
std::string BytesSum() {
    return "sum(cast(case when file_size > 0 then file_size else 0 end as double precision))";
}

std::string SecondsSum() {
    return "sum(case when duration > 0 and duration <= " + std::to_string(kSecondsMax) +
           " then duration else 0 end)";
}

Tally TallyTake(TallyReader *tallies, const TallyQuery &query) {
    std::string sql = "select " + query.name + " as name, count(*) as files, " + BytesSum() +
                      " as bytes, count(*) over () as groups_in_all from " + query.table;
    if (!query.condition.empty())
        sql += " where " + query.condition;
    return GroupsTake(tallies, sql, query.limit);
}

Tally FormatsTake(TallyReader *tallies, const std::string &table) {
    // Looking for the last dot takes long, so that it is done for the different ends of paths only, which are
    // few: those as long as the longest extension with its dot.
    const std::string tail = std::to_string(kExtensionMax + 1);
    return GroupsTake(
        tallies,
        "select case when tail like '%.%' then "
        "lower(substr(tail, length(rtrim(tail, replace(tail, '.', ''))) + 1)) else '' end as name, "
        "sum(files) as files, sum(bytes) as bytes, sum(seconds) as seconds, "
        "count(*) over () as groups_in_all from (select substr(path, case when length(path) > " +
            tail + " then length(path) - " + tail + " + 1 else 1 end) as tail, " + "count(*) as files, " +
            BytesSum() + " as bytes, " + SecondsSum() + " as seconds from " + table + " group by 1) as tails",
        0);
}

std::vector<GroupCount> CountsTake(TallyReader *tallies, const TallyQuery &query) {
    std::string sql = "select " + query.name + " as name, count(*) as files from " + query.table;
    if (!query.condition.empty())
        sql += " where " + query.condition;
    return RowsCount(tallies, sql + " group by 1 order by 2 desc, 1 limit " +
                                  std::to_string(query.limit != 0 ? query.limit : kGroupsMax));
}

std::vector<GroupCount> RowsCount(TallyReader *tallies, const std::string &sql) {
    const ResultHandle rows = RowsTake(tallies, sql);
    std::vector<GroupCount> counts;
    for (int at = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &at) == 0;)
        counts.push_back({VELUDBFetchText(rows.get(), at, "name"), IntegerOf(rows.get(), at, "files")});
    return counts;
}

int64_t NumberTake(TallyReader *tallies, const std::string &sql) {
    const ResultHandle rows = RowsTake(tallies, sql);
    return rows != nullptr ? IntegerOf(rows.get(), 0, "n") : 0;
}

std::vector<std::vector<int64_t>>
NumberRowsTake(TallyReader *tallies, const std::vector<std::string> &expressions, const std::string &table) {
    std::string sql;
    for (size_t at = 0; at < expressions.size(); ++at)
        sql += (at == 0 ? "select " : ", ") + expressions[at] + " as n" + std::to_string(at);
    const ResultHandle rows = RowsTake(tallies, sql + " from " + table);
    std::vector<std::vector<int64_t>> all;
    for (int row = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &row) == 0;) {
        all.emplace_back(expressions.size());
        for (size_t at = 0; at < expressions.size(); ++at)
            all.back()[at] = IntegerOf(rows.get(), row, ("n" + std::to_string(at)).c_str());
    }
    return all;
}

std::vector<int64_t> NumbersTake(TallyReader *tallies, const std::vector<std::string> &expressions,
                                 const std::string &table) {
    const std::vector<std::vector<int64_t>> rows = NumberRowsTake(tallies, expressions, table);
    return rows.empty() ? std::vector<int64_t>(expressions.size()) : rows.front();
}

void MomentBegin(TallyReader *tallies) {
    VELUDB *database = CatalogueConnect(tallies->reader, Catalogue::media);
    tallies->failed = tallies->failed || database == nullptr;
    if (tallies->failed)
        return;
    if (VELUDBBeginReading(database) != 0) {
        tallies->failed = true;
        tallies->reader->failure = VELUDBErrorGet(database);
    }
}

void MomentEnd(TallyReader *tallies) {
    Order(tallies, "commit");
}
