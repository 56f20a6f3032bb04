// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening the catalogues for programs that only read them.
#include "platform/veluindex.h"

#include <string.h>
#include <syslog.h>

namespace {

constexpr char kLogName[] = "reader.c";

// How each engine is kept from writing on a connection, whatever the program sends.
struct ReadOnly {
    const char *engine;
    const char *sql;
};
constexpr ReadOnly kReadOnly[] = {
    {"sqlite", "pragma query_only = on"},
    {"postgresql", "set default_transaction_read_only = on"},
};

bool WritesForbid(VELUDB *db) {
    for (const ReadOnly &engine : kReadOnly) {
        if (strcmp(engine.engine, VELUDBEngineName(db)) == 0)
            return VELUDBExecute(db, engine.sql, nullptr) >= 0;
    }
    return false;
}

} // namespace

VELUDB *VELUIndexReaderOpen(Catalogue catalogue) {
    char uri[kCatalogueUriSize];
    if (VELUIndexUriGet(catalogue, uri, sizeof uri) != 0) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return nullptr;
    }
    VELUDB *db = VELUDBOpenExisting(uri);
    if (db != nullptr && !WritesForbid(db)) {
        syslog(LOG_ERR, "%s (%d) Failed to open the database. (%s)", kLogName, __LINE__, VELUDBErrorGet(db));
        VELUDBClose(db);
        return nullptr;
    }
    return db;
}
