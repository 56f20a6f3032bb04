// SPDX-License-Identifier: GPL-2.0-or-later
//
// Copying catalogues: rows are read in portions by their key, so that a library of any size needs the same memory,
// and written through a prepared statement as the texts that they were read as.
#include "platform/index/catalogue_copy.h"

#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

#include "platform/index/store.h"

namespace {

constexpr char kLogName[] = "catalogue_copy.c";
constexpr int kPortionRows = 500;

// `key` orders the rows and is different in each; tables without any are small (rights: as many as albums times users), and
// are read as a whole.
struct Table {
    Catalogue catalogue;
    const char *name;
    const char *key;
    bool counted; // the database gives out the keys
};
constexpr Table kTables[] = {
    {Catalogue::media, kMediaTables[kMediaMusic], "path", false},
    {Catalogue::media, kMediaTables[kMediaVideo], "path", false},
    {Catalogue::media, kMediaTables[kMediaPhoto], "path", false},
    {Catalogue::media, kMediaTables[kMediaPlaylist], "path", false},
    {Catalogue::media, kDirectoryTable, "path", false},
    {Catalogue::photo, kPhotoTables[kPhotoTableImage], "id", true},
    {Catalogue::photo, kPhotoTables[kPhotoTableVideoDesc], "path", false},
    {Catalogue::photo, kPhotoTables[kPhotoTableVideoComment], "id", true},
    {Catalogue::photo, kPhotoTables[kPhotoTableShare], "shareid", false},
    {Catalogue::photo, kPhotoTables[kPhotoTableAccessRight], nullptr, false},
};

// Those about files, where they are. Triggers have filled the first by now.
constexpr Table kFileTables[] = {
    {Catalogue::media, kFileStateTable, "id", true},
    {Catalogue::media, "fact_name", "id", true},
    {Catalogue::media, "file_rules", nullptr, false},
    {Catalogue::media, "file_folding", nullptr, false},
};

// Their rows belong to a row of the first, and are copied by some of those at a time.
constexpr const char *kTablesByFile[] = {"file_fact", "file_entry"};
constexpr int kPortionFiles = 100;

int Fail(const char *about, const char *reason, int line = __builtin_LINE()) {
    syslog(LOG_ERR, "%s (%d) Failed to copy the catalogue at [%s]. (%s)", kLogName, line, about, reason);
    return -1;
}

int Fail(const char *about, VELUDB *db, int line = __builtin_LINE()) {
    return Fail(about, VELUDBErrorGet(db), line);
}

// The number of rows of a table, or -1, logged.
int64_t Count(VELUDB *db, const char *table) {
    const ResultHandle rows = VELUDBQuery(db, (std::string("select count(*) as n from ") + table).c_str());
    if (rows == nullptr)
        return Fail(table, db);
    return strtoll(VELUDBFetchField(rows.get(), 0, "n"), nullptr, 10);
}

VELUDBValue ValueOf(const char *field, bool real) {
    if (field == nullptr)
        return {};
    const std::string_view text(field);
    double number = 0;
    // A real goes over as a number: an engine may read its text less exactly.
    if (real && std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc())
        return VELUDBValue::Real(number);
    return VELUDBValue::Text(text.data(), text.size());
}

std::string InsertStatement(const char *table, const VELUDBResult *rows) {
    std::string columns;
    std::string parameters;
    for (int i = 0; i < VELUDBColumnCount(rows); ++i) {
        columns.append(i > 0 ? ", " : "").append(VELUDBColumnName(rows, i));
        parameters.append(i > 0 ? ", $" : "$").append(std::to_string(i + 1));
    }
    return std::string("insert into ") + table + " (" + columns + ") values (" + parameters + ")";
}

// Writes rows to the table's end; `insert` is its statement, prepared for the first of them.
int Write(VELUDB *to, const Table &table, const VELUDBResult *rows, int *insert) {
    if (*insert < 0)
        *insert = VELUDBPrepare(to, InsertStatement(table.name, rows).c_str());
    if (*insert < 0)
        return Fail(table.name, to);
    const int columns = VELUDBColumnCount(rows);
    std::vector<bool> real;
    for (int i = 0; i < columns; ++i)
        real.push_back(SchemaColumnIsReal(VELUDBColumnName(rows, i)));
    std::vector<VELUDBValue> values(real.size());
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
        for (int i = 0; i < columns; ++i)
            values[static_cast<size_t>(i)] =
                ValueOf(VELUDBFetchField(rows, row, VELUDBColumnName(rows, i)), real[static_cast<size_t>(i)]);
        if (VELUDBRun(to, *insert, values.data(), values.size(), nullptr) == 1)
            continue;
        return Fail((std::string(table.name) + ": " + VELUDBFetchText(rows, row, table.key)).c_str(), to);
    }
    return 0;
}

int CopyInPortions(VELUDB *from, VELUDB *to, const Table &table) {
    const std::string all = std::string("select * from ") + table.name;
    const std::string order =
        std::string(" order by ") + table.key + " limit " + std::to_string(kPortionRows);
    const int first = VELUDBPrepare(from, (all + order).c_str());
    const int next = VELUDBPrepare(from, (all + " where " + table.key + " > $1" + order).c_str());
    if (first < 0 || next < 0)
        return Fail(table.name, from);
    int insert = -1;
    std::string last;
    for (bool begun = false;; begun = true) {
        const VELUDBValue key = VELUDBValue::Text(last.data(), last.size());
        const ResultHandle rows = VELUDBRunQuery(from, begun ? next : first, &key, begun ? 1 : 0);
        if (rows == nullptr)
            return Fail(table.name, from);
        const int count = VELUDBRowCount(rows.get());
        if (Write(to, table, rows.get(), &insert) != 0)
            return -1;
        const char *field = VELUDBFetchField(rows.get(), count - 1, table.key);
        if (count < kPortionRows)
            return 0;
        if (field == nullptr)
            return Fail(table.name, "rows without a key");
        last = field;
    }
}

int CopyWhole(VELUDB *from, VELUDB *to, const Table &table) {
    const ResultHandle rows = VELUDBQuery(from, (std::string("select * from ") + table.name).c_str());
    if (rows == nullptr)
        return Fail(table.name, from);
    int insert = -1;
    return Write(to, table, rows.get(), &insert);
}

// Reads what belongs to some files, from behind the last of those before; `last` becomes empty behind all.
ResultHandle FilePortion(VELUDB *from, const char *table, std::string *last) {
    std::string portion("select id from ");
    portion.append(kFileStateTable).append(" where id > ").append(*last);
    portion.append(" order by id limit ").append(std::to_string(kPortionFiles));
    const ResultHandle files = VELUDBQuery(from, portion.c_str());
    if (files == nullptr)
        return nullptr;
    std::string sql("select * from ");
    sql.append(table).append(" where file > ").append(*last);
    *last = VELUDBFetchText(files.get(), VELUDBRowCount(files.get()) - 1, "id");
    if (!last->empty())
        sql.append(" and file <= ").append(*last);
    return VELUDBQuery(from, sql.c_str());
}

int CopyByFile(VELUDB *from, VELUDB *to, const Table &table) {
    int insert = -1;
    for (std::string last = "0"; !last.empty();) {
        const ResultHandle rows = FilePortion(from, table.name, &last);
        if (rows == nullptr)
            return Fail(table.name, from);
        if (Write(to, table, rows.get(), &insert) != 0)
            return -1;
    }
    return 0;
}

int CopyRows(VELUDB *from, VELUDB *to, const Table &table) {
    if (std::ranges::find(kTablesByFile, table.name) != std::end(kTablesByFile))
        return CopyByFile(from, to, table);
    return table.key != nullptr ? CopyInPortions(from, to, table) : CopyWhole(from, to, table);
}

int CopyTable(VELUDB *from, VELUDB *to, const Table &table, std::vector<TableCopied> *copied) {
    const int64_t before = Count(to, table.name);
    if (before != 0)
        return before < 0 ? -1 : Fail(table.name, "the table has rows already");
    if (CopyRows(from, to, table) != 0)
        return -1;
    if (table.counted && SchemaCountOn(to, table.name) != 0)
        return Fail(table.name, to);
    const int64_t wanted = Count(from, table.name);
    const int64_t found = Count(to, table.name);
    if (wanted < 0 || found < 0)
        return -1;
    if (wanted != found)
        return Fail(table.name, "not all rows have arrived");
    copied->push_back({table.name, found});
    return 0;
}

int CopyFileTables(VELUDB *from, VELUDB *to, std::vector<TableCopied> *copied) {
    for (const Table &table : kFileTables) {
        if (VELUDBExecute(to, (std::string("delete from ") + table.name).c_str(), nullptr) < 0)
            return Fail(table.name, to);
        if (CopyTable(from, to, table, copied) != 0)
            return -1;
    }
    for (const char *name : kTablesByFile)
        if (CopyTable(from, to, {Catalogue::media, name, nullptr, false}, copied) != 0)
            return -1;
    return 0;
}

DatabaseHandle OpenSource(Catalogue catalogue, const char *uri, bool *has_files) {
    DatabaseHandle db(VELUDBOpenExisting(uri));
    if (db == nullptr)
        return nullptr;
    if (SchemaVersion(db.get()) < 0) {
        Fail("FROM", db.get());
        return nullptr;
    }
    if (SchemaApply(db.get(), catalogue, true, has_files) != 0 ||
        (*has_files && FileSchemaApply(db.get()) != 0))
        return nullptr;
    if (StoreBegin(db.get(), catalogue, true) != 0) {
        Fail("FROM", db.get());
        return nullptr;
    }
    for (const Table &table : kTables)
        if (table.catalogue == catalogue && Count(db.get(), table.name) < 0)
            return nullptr;
    return db;
}

} // namespace

int CatalogueCopy(Catalogue catalogue, const char *from, const char *to, std::vector<TableCopied> *copied) {
    if (strcmp(from, to) == 0)
        return Fail("TO", "it is the same database as FROM");
    bool has_files = false;
    const DatabaseHandle source = OpenSource(catalogue, from, &has_files);
    if (source == nullptr)
        return -1;
    const DatabaseHandle target(VELUDBOpen(to));
    if (target == nullptr || SchemaApply(target.get(), catalogue) != 0 ||
        (has_files && FileSchemaApply(target.get()) != 0))
        return -1;
    if (StoreBegin(target.get(), catalogue) != 0)
        return Fail("TO", target.get());
    for (const Table &table : kTables)
        if (table.catalogue == catalogue && CopyTable(source.get(), target.get(), table, copied) != 0)
            return -1;
    if (has_files && CopyFileTables(source.get(), target.get(), copied) != 0)
        return -1;
    if (VELUDBCommit(target.get()) != 0 || VELUDBSync(target.get()) != 0)
        return Fail("TO", target.get());
    return 0;
}
