// SPDX-License-Identifier: GPL-2.0-or-later
//
// Brings the tables of a database from their version to the newest, in one transaction.
#include "platform/index/schema.h"

#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <string>
#include <utility>

#include "platform/db/words.h"

namespace {

constexpr char kLogName[] = "schema.c";

int NewestVersion(std::span<const SchemaStep> steps, Catalogue catalogue) {
    int newest = 0;
    for (const SchemaStep &step : steps)
        if (step.catalogue == catalogue && step.version > newest)
            newest = step.version;
    return newest;
}

std::string Replaced(std::string text, const char *word, const char *meaning) {
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + strlen(meaning)))
        text.replace(at, strlen(word), meaning);
    return text;
}

std::string Spelled(const char *sql, const VELUDBWords &words) {
    std::string text = Replaced(sql, "PATH", words.path);
    text = Replaced(std::move(text), "SERIAL", words.serial);
    text = Replaced(std::move(text), "CLUSTERED", words.clustered);
    return Replaced(std::move(text), "REAL", words.real);
}

int NumberOf(const VELUDBResult *rows, const char *column) {
    const char *field = VELUDBFetchField(rows, 0, column);
    return field != nullptr ? static_cast<int>(strtol(field, nullptr, 10)) : 0;
}

// Both in one statement, because each connection begins with it.
int VersionRead(VELUDB *db, const std::string &version_table, bool *has_files) {
    std::string sql = "select version";
    if (has_files != nullptr)
        sql += ", " + Replaced(VELUDBWordsOf(db).has_table, "TABLE", kFileVersionTable) + " as has_files";
    const ResultHandle rows = VELUDBQuery(db, (sql + " from " + version_table).c_str());
    if (has_files != nullptr)
        *has_files = rows != nullptr && NumberOf(rows.get(), "has_files") != 0;
    return rows != nullptr ? NumberOf(rows.get(), "version") : -1;
}

int RunSteps(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps, int version,
             const std::string &version_table) {
    const VELUDBWords &words = VELUDBWordsOf(db);
    for (const SchemaStep &step : steps) {
        const bool wanted = step.wanted == nullptr || step.wanted(words);
        if (step.catalogue != catalogue || step.version <= version || !wanted)
            continue;
        if (VELUDBExecute(db, Spelled(step.sql, words).c_str(), nullptr) < 0)
            return -1;
    }
    const std::string newest = std::to_string(NewestVersion(steps, catalogue));
    if (VELUDBExecute(db, ("delete from " + version_table).c_str(), nullptr) < 0)
        return -1;
    return VELUDBExecute(db, ("insert into " + version_table + " values (" + newest + ")").c_str(), nullptr);
}

// Another program may have been first, so that the version is read within the transaction. Returns the one that the tables
// have at its end, or -1.
int Migrate(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps,
            const std::string &version_table) {
    if (VELUDBBegin(db) != 0)
        return -1;
    const char *lock = VELUDBWordsOf(db).prepare_lock;
    if (lock != nullptr && VELUDBExecute(db, lock, nullptr) < 0)
        return -1;
    const std::string create = "create table if not exists " + version_table + " (version integer)";
    if (VELUDBExecute(db, create.c_str(), nullptr) < 0)
        return -1;
    const int version = VersionRead(db, version_table, nullptr);
    if (version < 0) // the table is there: what cannot be read now may be of any version
        return -1;
    const int newest = NewestVersion(steps, catalogue);
    if (version < newest && RunSteps(db, catalogue, steps, version, version_table) < 0)
        return -1;
    return VELUDBCommit(db) == 0 ? std::max(version, newest) : -1;
}

} // namespace

int SchemaVersion(VELUDB *db, const char *version_table, bool *has_files) {
    if (!VELUDBWordsOf(db).pooled || VELUDBInTransaction(db) != 0)
        return VersionRead(db, version_table, has_files);
    if (VELUDBBegin(db) != 0)
        return -1;
    const int version = VersionRead(db, version_table, has_files);
    VELUDBRollback(db);
    return version;
}

bool SchemaColumnIsReal(const char *column) {
    const std::string declared = std::string(" ") + column + " REAL";
    for (const SchemaStep &step : SchemaSteps())
        if (strstr(step.sql, declared.c_str()) != nullptr)
            return true;
    return false;
}

int SchemaCountOn(VELUDB *db, const char *table) {
    const char *count_on = VELUDBWordsOf(db).count_on;
    if (count_on == nullptr)
        return 0;
    return VELUDBExecute(db, Replaced(count_on, "TABLE", table).c_str(), nullptr) < 0 ? -1 : 0;
}

int SchemaApplySteps(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps, bool tell,
                     const char *version_table, bool *has_files) {
    const int newest = NewestVersion(steps, catalogue);
    int version = SchemaVersion(db, version_table, has_files);
    if (version < newest) {
        version = Migrate(db, catalogue, steps, version_table);
        if (version < 0) {
            if (tell)
                syslog(LOG_ERR, "%s (%d) Failed to prepare the tables of the %s. (%s)", kLogName, __LINE__,
                       CatalogueName(catalogue), VELUDBErrorGet(db));
            VELUDBRollback(db);
            return -1;
        }
    }
    if (version > newest) {
        if (tell)
            syslog(LOG_ERR,
                   "%s (%d) The database of the %s has tables%s of version %d, this program knows them up to "
                   "version %d.",
                   kLogName, __LINE__, CatalogueName(catalogue),
                   strcmp(version_table, kFileVersionTable) == 0 ? " about files" : "", version, newest);
        return -1;
    }
    return 0;
}

int SchemaApply(VELUDB *db, Catalogue catalogue, bool tell, bool *has_files) {
    return SchemaApplySteps(db, catalogue, SchemaSteps(), tell, kVersionTable, has_files);
}

int FileSchemaApply(VELUDB *db, bool tell) {
    return SchemaApplySteps(db, Catalogue::media, FileSchemaSteps(), tell, kFileVersionTable);
}

bool FileSchemaIsOurs(VELUDB *db) {
    return SchemaVersion(db, kFileVersionTable) <= NewestVersion(FileSchemaSteps(), Catalogue::media);
}
