// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/tally.h"

#include <math.h>
#include <stdlib.h>

#include <algorithm>
#include <map>
#include <string_view>

#include "platform/letters.h"

namespace {

constexpr int kExtensionMax = 6;     // letters: dvr-ms
constexpr size_t kGroupsMax = 20000; // whatever a program has written into the catalogue

std::string ExtensionOf(std::string_view tail) {
    const size_t dot = tail.rfind('.');
    std::string extension(dot != std::string_view::npos ? tail.substr(dot + 1) : std::string_view());
    std::ranges::transform(extension, extension.begin(), Lower);
    return extension;
}

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

// The end of a statement that sums rows up by groups, most files first.
std::string GroupsEnd(const TallyQuery &query) {
    return (query.condition.empty() ? "" : " where " + query.condition) + " group by " + query.group +
           " order by 2 desc, 1 limit " + std::to_string(query.limit != 0 ? query.limit : kGroupsMax);
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
    return "sum(case when duration > 0 and duration <= " + std::to_string(kPlayingSecondsMax) +
           " then duration else 0 end)";
}

Tally TallyTake(TallyReader *tallies, const TallyQuery &query) {
    const ResultHandle rows = RowsTake(
        tallies, "select " + query.name + " as name, count(*) as files, " + BytesSum() +
                     " as bytes, count(*) over () as groups_in_all from " + query.table + GroupsEnd(query));
    Tally tally;
    for (int at = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &at) == 0;) {
        tally.groups.push_back({VELUDBFetchText(rows.get(), at, "name"), IntegerOf(rows.get(), at, "files"),
                                RealOf(rows.get(), at, "bytes")});
        tally.groups_in_all = IntegerOf(rows.get(), at, "groups_in_all");
    }
    return tally;
}

std::vector<FormatPart> FormatPartsTake(TallyReader *tallies, const std::string &table,
                                        const std::string &expression) {
    // The database tells the ends of paths apart, as long as the longest extension with its dot; of these there are few.
    const std::string tail = std::to_string(kExtensionMax + 1);
    const ResultHandle rows =
        RowsTake(tallies, "select substr(path, case when length(path) > " + tail + " then length(path) - " +
                              tail + " + 1 else 1 end) as name, " + expression +
                              " as part, count(*) as files, " + BytesSum() + " as bytes, " + SecondsSum() +
                              " as seconds from " + table + " group by 1, 2");
    std::vector<FormatPart> parts;
    for (int at = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &at) == 0;)
        parts.push_back(
            {IntegerOf(rows.get(), at, "part"),
             {ExtensionOf(VELUDBFetchText(rows.get(), at, "name")), IntegerOf(rows.get(), at, "files"),
              RealOf(rows.get(), at, "bytes"), RealOf(rows.get(), at, "seconds")}});
    return parts;
}

Tally FormatsOf(const std::vector<FormatPart> &parts) {
    std::map<std::string, Group> formats;
    for (const FormatPart &part : parts) {
        Group &format = formats[part.files.name];
        format.name = part.files.name;
        format.files += part.files.files;
        format.bytes += part.files.bytes;
        format.seconds += part.files.seconds;
    }
    Tally tally = {{}, static_cast<int64_t>(formats.size())};
    for (auto &[name, format] : formats)
        tally.groups.push_back(std::move(format));
    std::ranges::stable_sort(tally.groups, std::ranges::greater(), &Group::files);
    return tally;
}

Tally FormatsTake(TallyReader *tallies, const std::string &table) {
    return FormatsOf(FormatPartsTake(tallies, table, "0"));
}

std::vector<GroupCount> CountsTake(TallyReader *tallies, const TallyQuery &query) {
    const ResultHandle rows = RowsTake(tallies, "select " + query.name + " as name, count(*) as files from " +
                                                    query.table + GroupsEnd(query));
    std::vector<GroupCount> counts;
    for (int at = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &at) == 0;)
        counts.push_back({VELUDBFetchText(rows.get(), at, "name"), IntegerOf(rows.get(), at, "files")});
    return counts;
}

int64_t NumberTake(TallyReader *tallies, const std::string &sql) {
    const ResultHandle rows = RowsTake(tallies, sql);
    return rows != nullptr ? IntegerOf(rows.get(), 0, "n") : 0;
}

std::vector<int64_t> NumbersTake(TallyReader *tallies, const std::vector<std::string> &expressions,
                                 const std::string &table) {
    std::string sql;
    for (size_t at = 0; at < expressions.size(); ++at)
        sql += (at == 0 ? "select " : ", ") + expressions[at] + " as n" + std::to_string(at);
    const ResultHandle rows = RowsTake(tallies, sql + " from " + table);
    std::vector<int64_t> numbers(expressions.size());
    for (size_t at = 0; rows != nullptr && at < numbers.size(); ++at)
        numbers[at] = IntegerOf(rows.get(), 0, ("n" + std::to_string(at)).c_str());
    return numbers;
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
