// SPDX-License-Identifier: GPL-2.0-or-later
//
// The public calls of libveludb: they choose the engine by the URI's scheme and pass everything on to it.
#include "platform/veludb.h"

#include <string.h>
#include <syslog.h>

#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "platform/db/engine.h"

struct VELUDB {
    const VELUDBEngine *engine;
    void *connection;
    bool out_of_memory; // the last failure was ours: its result did not fit into memory
};

namespace {

constexpr char kLogName[] = "veludb.c";

struct Scheme {
    std::string_view prefix;
    const char *module; // null: linked in
};

constexpr Scheme kSchemes[] = {
    {"sqlite:", nullptr},
    {"postgresql://", "veludb-postgresql.so"},
    {"postgres://", "veludb-postgresql.so"},
};

const VELUDBEngine *EngineOf(const char *uri, std::string *error) {
    const std::string_view text(uri);
    for (const Scheme &scheme : kSchemes) {
        if (text.substr(0, scheme.prefix.size()) != scheme.prefix)
            continue;
        return scheme.module == nullptr ? SqliteEngine() : ModuleEngine(scheme.module, error);
    }
    // Only the scheme is named: the rest of a mistyped URI may hold a password.
    *error = "no database is known as \"" + std::string(text.substr(0, text.find(':'))) + "\"";
    return nullptr;
}

// Runs `call` with a fresh result set, which reaches the caller only on success.
template <typename Call>
int WithResult(VELUDB *db, VELUDBResult **result, Call call) {
    if (result != nullptr)
        *result = nullptr;
    if (db == nullptr)
        return -1;
    db->out_of_memory = false;
    try {
        std::unique_ptr<VELUDBResult> rows;
        if (result != nullptr)
            rows = std::make_unique<VELUDBResult>();
        const int affected = call(rows.get());
        if (affected >= 0 && result != nullptr)
            *result = rows.release();
        return affected;
    } catch (const std::bad_alloc &) {
        // A result is as large as somebody's catalogue; the daemon outlives one that does not fit.
        db->out_of_memory = true;
        return -1;
    }
}

} // namespace

VELUDBValue VELUDBValue::Integer(int64_t value) {
    VELUDBValue result;
    result.type = Type::integer;
    result.integer = value;
    return result;
}

VELUDBValue VELUDBValue::Real(double value) {
    VELUDBValue result;
    result.type = Type::real;
    result.real = value;
    return result;
}

VELUDBValue VELUDBValue::Text(const char *bytes, size_t length) {
    VELUDBValue result;
    result.type = Type::text;
    result.text = bytes;
    result.length = length;
    return result;
}

VELUDB *VELUDBOpen(const char *uri) {
    if (uri == nullptr || *uri == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return nullptr;
    }
    std::string error;
    const VELUDBEngine *engine = EngineOf(uri, &error);
    void *connection = engine != nullptr ? engine->open(uri, &error) : nullptr;
    if (connection == nullptr) {
        syslog(LOG_ERR, "%s (%d) Failed to open the database. (%s)", kLogName, __LINE__, error.c_str());
        return nullptr;
    }
    return new VELUDB{engine, connection, false};
}

void VELUDBClose(VELUDB *db) {
    if (db == nullptr)
        return;
    db->engine->close(db->connection);
    delete db;
}

const char *VELUDBEngineName(const VELUDB *db) {
    return db == nullptr ? "" : db->engine->name;
}

int VELUDBExecute(VELUDB *db, const char *sql, VELUDBResult **result) {
    return WithResult(db, result, [&](VELUDBResult *rows) {
        return sql == nullptr ? -1 : db->engine->exec(db->connection, sql, rows);
    });
}

int VELUDBPrepare(VELUDB *db, const char *sql) {
    if (db == nullptr || sql == nullptr)
        return -1;
    db->out_of_memory = false;
    return db->engine->prepare(db->connection, sql);
}

int VELUDBRun(VELUDB *db, int statement, const VELUDBValue *values, size_t count, VELUDBResult **result) {
    return WithResult(db, result, [&](VELUDBResult *rows) {
        return db->engine->run(db->connection, statement, values, count, rows);
    });
}

int VELUDBBegin(VELUDB *db) {
    if (db == nullptr)
        return -1;
    db->out_of_memory = false;
    return db->engine->begin(db->connection);
}

int VELUDBCommit(VELUDB *db) {
    if (db == nullptr)
        return -1;
    db->out_of_memory = false;
    return db->engine->commit(db->connection);
}

void VELUDBRollback(VELUDB *db) {
    if (db != nullptr)
        db->engine->rollback(db->connection);
}

int VELUDBInTransaction(const VELUDB *db) {
    return db == nullptr ? 0 : db->engine->in_transaction(db->connection);
}

int VELUDBSync(VELUDB *db) {
    if (db == nullptr)
        return -1;
    db->out_of_memory = false;
    return db->engine->sync(db->connection);
}

const char *VELUDBErrorGet(const VELUDB *db) {
    if (db == nullptr)
        return "no connection";
    return db->out_of_memory ? "out of memory" : db->engine->error(db->connection);
}

int BlVELUDBStoreFailed(const VELUDB *db) {
    return db == nullptr || db->out_of_memory || db->engine->store_failed(db->connection) != 0;
}
