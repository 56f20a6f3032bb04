// SPDX-License-Identifier: GPL-2.0-or-later
//
// Leading a database from the version of its tables to the newest, in one transaction.
#include "platform/index/schema.h"

#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <string>

namespace {

constexpr char kLogName[] = "schema.c";

// The words that engines spell differently: PATH, text that compares byte by byte; SERIAL, a key that the database
// counts up by itself; REAL, a number that keeps its 15 digits. `lock` lets one program at a time prepare the
// tables, where the beginning of a transaction does not.
struct Dialect {
    const char *engine;
    const char *path;
    const char *serial;
    const char *real;
    const char *lock;
};

// Saving a row again uses up a number of PostgreSQL's counter, so a key of 32 bits would run out one day.
constexpr Dialect kDialects[] = {
    {"sqlite", "text", "integer", "real", nullptr},
    {"postgresql", "text collate \"C\"", "bigserial", "double precision",
     "select pg_advisory_xact_lock(1986358645)"},
};

int NewestVersion(std::span<const SchemaStep> steps, Catalogue catalogue) {
    int newest = 0;
    for (const SchemaStep &step : steps)
        if (step.catalogue == catalogue && step.version > newest)
            newest = step.version;
    return newest;
}

// The version of the database, 0 for a table without a row, or -1 when there is no such table yet.
int VersionOf(VELUDB *db) {
    VELUDBResult *rows = nullptr;
    if (VELUDBExecute(db, "select version from schema_version", &rows) < 0)
        return -1;
    const char *field = VELUDBFetchField(rows, 0, "version");
    const int version = field != nullptr ? static_cast<int>(strtol(field, nullptr, 10)) : 0;
    VELUDBFreeResult(rows);
    return version;
}

const Dialect &DialectOf(VELUDB *db) {
    for (const Dialect &dialect : kDialects)
        if (strcmp(dialect.engine, VELUDBEngineName(db)) == 0)
            return dialect;
    return kDialects[0];
}

std::string InDialect(const char *sql, const Dialect &dialect) {
    std::string text(sql);
    const struct {
        const char *word;
        const char *meaning;
    } words[] = {{"PATH", dialect.path}, {"SERIAL", dialect.serial}, {"REAL", dialect.real}};
    for (const auto &[word, meaning] : words)
        for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + strlen(meaning)))
            text.replace(at, strlen(word), meaning);
    return text;
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
        const int version = VersionOf(db);
        result = version >= NewestVersion(steps, catalogue) ? 0 : RunSteps(db, catalogue, steps, version);
    }
    return result < 0 ? -1 : VELUDBCommit(db);
}

} // namespace

int SchemaApplySteps(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps) {
    const int newest = NewestVersion(steps, catalogue);
    int version = VersionOf(db);
    if (version < newest) {
        if (Migrate(db, catalogue, steps) != 0) {
            syslog(LOG_ERR, "%s (%d) Failed to prepare the tables. (%s)", kLogName, __LINE__,
                   VELUDBErrorGet(db));
            VELUDBRollback(db);
            return -1;
        }
        version = VersionOf(db);
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
