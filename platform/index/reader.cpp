// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening the catalogues for programs that only read them.
#include "platform/veluindex.h"

#include <errno.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <string_view>

namespace {

constexpr char kLogName[] = "reader.c";

// A file is made by whoever opens it, so one that is missing must not be opened at all.
constexpr std::string_view kFileScheme = "sqlite:";

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
    const std::string_view text = uri;
    if (text.starts_with(kFileScheme) && access(uri + kFileScheme.size(), F_OK) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to open the database. (%s: %s)", kLogName, __LINE__,
               uri + kFileScheme.size(), strerror(errno));
        return nullptr;
    }
    VELUDB *db = VELUDBOpen(uri);
    if (db != nullptr && !WritesForbid(db)) {
        syslog(LOG_ERR, "%s (%d) Failed to open the database. (%s)", kLogName, __LINE__, VELUDBErrorGet(db));
        VELUDBClose(db);
        return nullptr;
    }
    return db;
}
