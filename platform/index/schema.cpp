// SPDX-License-Identifier: GPL-2.0-or-later
//
// Leading a database from the version of its tables to the newest, in one transaction.
#include "platform/index/schema.h"

#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <string>
#include <utility>

namespace {

constexpr char kLogName[] = "schema.c";

// The words that engines spell differently: PATH, text that compares byte by byte; SERIAL, a key that the database
// counts up by itself; REAL, a number that keeps its 15 digits. `lock` lets one program at a time prepare the
// tables, and `one_view` gives one that reads a single moment, where its beginning does not already; `count_on` puts
// the counter of TABLE's keys behind its largest id, where the rows themselves are not the counter.
struct Dialect {
    const char *engine;
    const char *path;
    const char *serial;
    const char *real;
    const char *lock;
    const char *one_view;
    const char *count_on;
};

// Saving a row again uses up a number of PostgreSQL's counter, so a key of 32 bits would run out one day.
constexpr Dialect kDialects[] = {
    {"sqlite", "text", "integer", "real", nullptr, nullptr, nullptr},
    {"postgresql", "text collate \"C\"", "bigserial", "double precision",
     "select pg_advisory_xact_lock(1986358645)", "set transaction isolation level repeatable read",
     "select setval(pg_get_serial_sequence('TABLE', 'id'), max(id)) from TABLE having max(id) > 0"},
};

int NewestVersion(std::span<const SchemaStep> steps, Catalogue catalogue) {
    int newest = 0;
    for (const SchemaStep &step : steps)
        if (step.catalogue == catalogue && step.version > newest)
            newest = step.version;
    return newest;
}

const Dialect &DialectOf(VELUDB *db) {
    for (const Dialect &dialect : kDialects)
        if (strcmp(dialect.engine, VELUDBEngineName(db)) == 0)
            return dialect;
    return kDialects[0];
}

std::string Replaced(std::string text, const char *word, const char *meaning) {
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + strlen(meaning)))
        text.replace(at, strlen(word), meaning);
    return text;
}

std::string InDialect(const char *sql, const Dialect &dialect) {
    std::string text = Replaced(sql, "PATH", dialect.path);
    text = Replaced(std::move(text), "SERIAL", dialect.serial);
    return Replaced(std::move(text), "REAL", dialect.real);
}

int RunSteps(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps, int version) {
    const Dialect &dialect = DialectOf(db);
    for (const SchemaStep &step : steps) {
        const bool wanted = step.engine == nullptr || strcmp(step.engine, dialect.engine) == 0;
        if (step.catalogue != catalogue || step.version <= version || !wanted)
            continue;
        if (VELUDBExecute(db, InDialect(step.sql, dialect).c_str(), nullptr) < 0)
            return -1;
    }
    const std::string newest = std::to_string(NewestVersion(steps, catalogue));
    if (VELUDBExecute(db, "delete from schema_version", nullptr) < 0)
        return -1;
    return VELUDBExecute(db, ("insert into schema_version values (" + newest + ")").c_str(), nullptr);
}

// Another program may have been first: the version counts that stands once the transaction is ours.
int Migrate(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps) {
    if (VELUDBBegin(db) != 0)
        return -1;
    const char *lock = DialectOf(db).lock;
    if (lock != nullptr && VELUDBExecute(db, lock, nullptr) < 0)
        return -1;
    int result = VELUDBExecute(db, "create table if not exists schema_version (version integer)", nullptr);
    if (result >= 0) {
        const int version = SchemaVersion(db);
        if (version < 0) // the table is there: what cannot be read now may be of any version
            return -1;
        result = version >= NewestVersion(steps, catalogue) ? 0 : RunSteps(db, catalogue, steps, version);
    }
    return result < 0 ? -1 : VELUDBCommit(db);
}

} // namespace

int SchemaVersion(VELUDB *db) {
    VELUDBResult *rows = nullptr;
    if (VELUDBExecute(db, "select version from schema_version", &rows) < 0)
        return -1;
    const char *field = VELUDBFetchField(rows, 0, "version");
    const int version = field != nullptr ? static_cast<int>(strtol(field, nullptr, 10)) : 0;
    VELUDBFreeResult(rows);
    return version;
}

bool SchemaColumnIsReal(const char *column) {
    const std::string declared = std::string(" ") + column + " REAL";
    for (const SchemaStep &step : SchemaSteps())
        if (strstr(step.sql, declared.c_str()) != nullptr)
            return true;
    return false;
}

int SchemaBeginReading(VELUDB *db) {
    if (VELUDBBegin(db) != 0)
        return -1;
    const char *one_view = DialectOf(db).one_view;
    return one_view != nullptr && VELUDBExecute(db, one_view, nullptr) < 0 ? -1 : 0;
}

int SchemaCountOn(VELUDB *db, const char *table) {
    const char *count_on = DialectOf(db).count_on;
    if (count_on == nullptr)
        return 0;
    return VELUDBExecute(db, Replaced(count_on, "TABLE", table).c_str(), nullptr) < 0 ? -1 : 0;
}

int SchemaApplySteps(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps) {
    const int newest = NewestVersion(steps, catalogue);
    int version = SchemaVersion(db);
    if (version < newest) {
        if (Migrate(db, catalogue, steps) != 0) {
            syslog(LOG_ERR, "%s (%d) Failed to prepare the tables. (%s)", kLogName, __LINE__,
                   VELUDBErrorGet(db));
            VELUDBRollback(db);
            return -1;
        }
        version = SchemaVersion(db);
    }
    if (version > newest) {
        syslog(LOG_ERR,
               "%s (%d) The database has tables of version %d, this program knows them up to version %d.",
               kLogName, __LINE__, version, newest);
        return -1;
    }
    return 0;
}

int SchemaApply(VELUDB *db, Catalogue catalogue) {
    return SchemaApplySteps(db, catalogue, SchemaSteps());
}
