// SPDX-License-Identifier: GPL-2.0-or-later
//
// The public calls of libveludb: they choose the engine by the URI's scheme and pass everything on to it.
#include "platform/veludb.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "platform/db/engine.h"

struct VELUDB {
    const VELUDBEngine *engine = nullptr;
    void *connection = nullptr;
    bool out_of_memory = false; // the last failure was ours: there was no memory for it
};

namespace {

constexpr char kLogName[] = "veludb.c";
constexpr char kOutOfMemory[] = "out of memory";

constexpr size_t kReasonSize = 4352; // a path and the system's words

// What a URI begins with, and where the engine for it is. The one list of them.
struct Scheme {
    std::string_view prefix;
    const char *module; // null: linked in
};

constexpr Scheme kSchemes[] = {
    {kVELUDBFileScheme, nullptr},
    {"postgresql://", "veludb-postgresql.so"},
    {"postgres://", "veludb-postgresql.so"},
};

const Scheme *SchemeOf(std::string_view uri) {
    for (const Scheme &scheme : kSchemes)
        if (uri.starts_with(scheme.prefix))
            return &scheme;
    return nullptr;
}

const VELUDBEngine *EngineOf(const char *uri, std::string *error) {
    const std::string_view text(uri);
    if (const Scheme *scheme = SchemeOf(text); scheme != nullptr)
        return scheme->module == nullptr ? SqliteEngine() : ModuleEngine(scheme->module, error);
    // Only the scheme is named: the rest of a mistyped URI may hold a password.
    *error = "no database is known as \"" + std::string(text.substr(0, text.find(':'))) + "\"";
    return nullptr;
}

VELUDB *OpenFailed(const char *owner, bool tell, const char *reason, std::string *taken = nullptr,
                   int line = __builtin_LINE()) {
    if (taken != nullptr)
        *taken = reason;
    const bool owned = owner != nullptr;
    if (tell)
        syslog(LOG_ERR, "%s (%d) Failed to open the database%s%s. (%s)", kLogName, line,
               owned ? " of the " : "", owned ? owner : "", reason);
    return nullptr;
}

// A table of this build that somebody has filled in halfway must not fail later, in the middle of a run.
bool IsWhole(const VELUDBEngine &engine, std::string *error) {
    const VELUDBWords *words = engine.words;
    const bool calls = engine.open != nullptr && engine.close != nullptr && engine.exec != nullptr &&
                       engine.prepare != nullptr && engine.run != nullptr && engine.begin != nullptr &&
                       engine.commit != nullptr && engine.rollback != nullptr &&
                       engine.in_transaction != nullptr && engine.sync != nullptr &&
                       engine.error != nullptr && engine.store_failed != nullptr &&
                       engine.connected != nullptr && engine.forbid_writes != nullptr;
    const bool spelled = words != nullptr && words->path != nullptr && words->serial != nullptr &&
                         words->real != nullptr && words->compact != nullptr && words->clustered != nullptr &&
                         words->has_table != nullptr;
    if (calls && spelled && engine.name != nullptr && engine.seam == kEngineSeam)
        return true;
    *error = std::string("the engine \"") + (engine.name != nullptr ? engine.name : "") + "\" lacks a part";
    return false;
}

// Runs `call`, whose failure for want of memory becomes the database's.
template <typename Call>
int Guarded(VELUDB *db, Call call) {
    if (db == nullptr)
        return -1;
    db->out_of_memory = false;
    try {
        return call();
    } catch (const std::bad_alloc &) {
        // A result is as large as somebody's catalogue; the daemon outlives one that does not fit.
        db->out_of_memory = true;
        return -1;
    }
}

int Begin(VELUDB *db, EngineBegin what) {
    return Guarded(db, [&] { return db->engine->begin(db->connection, what) < 0 ? -1 : 0; });
}

// Runs `call` with a fresh result set, which reaches the caller only on success.
template <typename Call>
int WithResult(VELUDB *db, VELUDBResult **result, Call call) {
    if (result != nullptr)
        *result = nullptr;
    return Guarded(db, [&] {
        std::unique_ptr<VELUDBResult> rows;
        if (result != nullptr)
            rows = std::make_unique<VELUDBResult>();
        const int affected = call(rows.get());
        if (affected >= 0 && result != nullptr)
            *result = rows.release();
        return affected;
    });
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

VELUDB *EngineOpen(const VELUDBEngine &engine, const char *uri, const char *owner, bool tell,
                   std::string *reason) {
    std::string error;
    try {
        auto db = std::make_unique<VELUDB>();
        db->engine = &engine;
        if (IsWhole(engine, &error))
            db->connection = engine.open(uri, &error);
        if (db->connection != nullptr)
            return db.release();
    } catch (const std::bad_alloc &) {
        error = kOutOfMemory;
    }
    return OpenFailed(owner, tell, error.c_str(), reason);
}

VELUDB *VELUDBOpen(const char *uri, const char *owner, bool tell, std::string *reason) {
    if (uri == nullptr || *uri == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return nullptr;
    }
    std::string error;
    try {
        if (const VELUDBEngine *engine = EngineOf(uri, &error); engine != nullptr)
            return EngineOpen(*engine, uri, owner, tell, reason);
    } catch (const std::bad_alloc &) {
        error = kOutOfMemory;
    }
    return OpenFailed(owner, tell, error.c_str(), reason);
}

bool VELUDBIsMissing(const char *uri) {
    const char *file = VELUDBFileGet(uri);
    return file != nullptr && access(file, F_OK) != 0;
}

VELUDB *VELUDBOpenExisting(const char *uri, const char *owner) {
    if (!VELUDBIsMissing(uri))
        return VELUDBOpen(uri, owner);
    char reason[kReasonSize];
    snprintf(reason, sizeof reason, "%s: %s", VELUDBFileGet(uri), strerror(errno));
    return OpenFailed(owner, true, reason);
}

bool VELUDBIsDamage(std::string_view reason) {
    // SQLite's words for SQLITE_CORRUPT, whatever it found, and for SQLITE_NOTADB.
    constexpr std::string_view kWords[] = {"database disk image is malformed", "malformed database schema",
                                           "file is not a database"};
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&](std::string_view words) { return reason.find(words) != std::string_view::npos; });
}

bool VELUDBLacksModule(const char *uri) {
    const Scheme *scheme = SchemeOf(uri);
    std::string error;
    return scheme != nullptr && scheme->module != nullptr && ModuleEngine(scheme->module, &error) == nullptr;
}

const char *VELUDBFileGet(const char *uri) {
    constexpr size_t kLength = std::string_view(kVELUDBFileScheme).size();
    return uri != nullptr && strncmp(uri, kVELUDBFileScheme, kLength) == 0 ? uri + kLength : nullptr;
}

const char *VELUDBServerGet(const char *uri) {
    const Scheme *scheme = uri != nullptr ? SchemeOf(uri) : nullptr;
    return scheme != nullptr && scheme->module != nullptr ? uri + scheme->prefix.size() : nullptr;
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

const VELUDBWords &VELUDBWordsOf(const VELUDB *db) {
    return *db->engine->words;
}

int VELUDBExecute(VELUDB *db, const char *sql, VELUDBResult **result) {
    return WithResult(db, result, [&](VELUDBResult *rows) {
        return sql == nullptr ? -1 : db->engine->exec(db->connection, sql, rows);
    });
}

int VELUDBPrepare(VELUDB *db, const char *sql) {
    return Guarded(db, [&] { return sql == nullptr ? -1 : db->engine->prepare(db->connection, sql); });
}

int VELUDBRun(VELUDB *db, int statement, const VELUDBValue *values, size_t count, VELUDBResult **result) {
    return WithResult(db, result, [&](VELUDBResult *rows) {
        return db->engine->run(db->connection, statement, values, count, rows);
    });
}

ResultHandle VELUDBQuery(VELUDB *db, const char *sql) {
    VELUDBResult *rows = nullptr;
    VELUDBExecute(db, sql, &rows);
    return ResultHandle(rows);
}

ResultHandle VELUDBRunQuery(VELUDB *db, int statement, const VELUDBValue *values, size_t count) {
    VELUDBResult *rows = nullptr;
    VELUDBRun(db, statement, values, count, &rows);
    return ResultHandle(rows);
}

int VELUDBBegin(VELUDB *db) {
    return Begin(db, EngineBegin::writing);
}

int VELUDBBeginOneView(VELUDB *db) {
    return Begin(db, EngineBegin::oneView);
}

int VELUDBCommit(VELUDB *db) {
    const int result = Guarded(db, [&] { return db->engine->commit(db->connection); });
    if (db != nullptr && db->out_of_memory)
        VELUDBRollback(db); // it may not even have begun
    return result;
}

void VELUDBRollback(VELUDB *db) {
    if (db == nullptr)
        return;
    try {
        db->engine->rollback(db->connection);
    } catch (const std::bad_alloc &) {
        // A connection that nothing is committed on any more rolls back when it is closed.
    }
}

int VELUDBBeginReading(VELUDB *db) {
    return Begin(db, EngineBegin::reading);
}

int VELUDBForbidWrites(VELUDB *db) {
    return Guarded(db, [&] { return db->engine->forbid_writes(db->connection) < 0 ? -1 : 0; });
}

int VELUDBInTransaction(const VELUDB *db) {
    return db == nullptr ? 0 : db->engine->in_transaction(db->connection);
}

int VELUDBSync(VELUDB *db) {
    return Guarded(db, [&] { return db->engine->sync(db->connection); });
}

const char *VELUDBErrorGet(const VELUDB *db) {
    if (db == nullptr)
        return "no connection";
    return db->out_of_memory ? kOutOfMemory : db->engine->error(db->connection);
}

int BlVELUDBStoreFailed(const VELUDB *db) {
    return db == nullptr || db->out_of_memory || db->engine->store_failed(db->connection) != 0;
}

int BlVELUDBOutOfMemory(const VELUDB *db) {
    return db != nullptr && db->out_of_memory;
}

int BlVELUDBConnected(const VELUDB *db) {
    return db != nullptr && db->engine->connected(db->connection) != 0;
}
