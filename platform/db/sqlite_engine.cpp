// SPDX-License-Identifier: GPL-2.0-or-later
//
// The SQLite engine: statements, transactions and results.
#include <limits.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <new>

#include "platform/db/engine.h"
#include "platform/db/sqlite_connection.h"

namespace {

SqliteConnection *Connection(void *connection) {
    return static_cast<SqliteConnection *>(connection);
}

const SqliteConnection *Connection(const void *connection) {
    return static_cast<const SqliteConnection *>(connection);
}

constexpr int kPrimaryCode = 0xff; // an extended result code carries its primary code in the low byte

// A want of memory is this process's affair, wherever it is met, and not the database's.
int Fail(SqliteConnection *connection, int code, const char *words) {
    if ((code & kPrimaryCode) == SQLITE_NOMEM)
        throw std::bad_alloc();
    connection->code = code;
    connection->error = words;
    return -1;
}

int Fail(SqliteConnection *connection) {
    sqlite3 *db = connection->db.get();
    const SqliteFailure failure = SqliteFailureOf(db, sqlite3_errcode(db));
    return Fail(connection, failure.code, failure.words);
}

bool IsBoolean(sqlite3_stmt *statement, int column) {
    const char *type = sqlite3_column_decltype(statement, column);
    return type != nullptr && strcasecmp(type, "boolean") == 0;
}

// The number and the spellings of true that PostgreSQL too takes as a boolean.
bool IsTrue(sqlite3_stmt *statement, int column) {
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
    if (text == nullptr)
        return false;
    return strcmp(text, "1") == 0 || strcasecmp(text, "t") == 0 || strcasecmp(text, "true") == 0;
}

void AddCell(VELUDBResult *rows, sqlite3_stmt *statement, int column, bool is_boolean) {
    const int type = sqlite3_column_type(statement, column);
    if (type == SQLITE_NULL) {
        ResultAddNull(rows);
    } else if (is_boolean) {
        ResultAddCell(rows, IsTrue(statement, column) ? "t" : "f", 1);
    } else if (type == SQLITE_FLOAT) {
        ResultAddReal(rows, sqlite3_column_double(statement, column)); // its own text keeps 15 digits only
    } else {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
        if (text == nullptr)
            throw std::bad_alloc();
        ResultAddCell(rows, text, static_cast<size_t>(sqlite3_column_bytes(statement, column)));
    }
}

// Asked once for all rows: it takes as long as a cell.
std::vector<bool> BooleansOf(sqlite3_stmt *statement) {
    std::vector<bool> booleans;
    for (int i = 0; i < sqlite3_column_count(statement); ++i)
        booleans.push_back(IsBoolean(statement, i));
    return booleans;
}

int Step(SqliteConnection *connection, sqlite3_stmt *statement, VELUDBResult *rows) {
    sqlite3 *db = connection->db.get();
    const int columns = sqlite3_column_count(statement);
    for (int i = 0; rows != nullptr && i < columns; ++i)
        rows->columns.emplace_back(sqlite3_column_name(statement, i));
    const sqlite3_int64 before = sqlite3_total_changes64(db);
    int result = sqlite3_step(statement);
    // The first step compiles a statement anew whose tables have changed.
    const std::vector<bool> booleans = rows != nullptr ? BooleansOf(statement) : std::vector<bool>();
    for (; result == SQLITE_ROW; result = sqlite3_step(statement))
        for (int i = 0; rows != nullptr && i < columns; ++i)
            AddCell(rows, statement, i, booleans[static_cast<size_t>(i)]);
    if (result != SQLITE_DONE)
        return Fail(connection);
    // When this statement can change no row, SQLite's count of changes is still that of an earlier one.
    if (sqlite3_total_changes64(db) == before)
        return 0;
    return static_cast<int>(std::min<sqlite3_int64>(sqlite3_changes64(db), INT_MAX));
}

SqliteStatement Compile(SqliteConnection *connection, const char *sql, unsigned flags) {
    const std::string text = SqliteLikeNarrowed(sql);
    sqlite3_stmt *raw = nullptr;
    const char *rest = nullptr;
    if (sqlite3_prepare_v3(connection->db.get(), text.c_str(), -1, flags, &raw, &rest) != SQLITE_OK) {
        Fail(connection);
        return nullptr;
    }
    SqliteStatement statement(raw);
    if (raw == nullptr || rest[strspn(rest, " \t\r\n;")] != '\0') {
        Fail(connection, SQLITE_MISUSE, raw == nullptr ? "no statement" : "more than one statement");
        return nullptr;
    }
    return statement;
}

int Exec(void *handle, const char *sql, VELUDBResult *rows) {
    SqliteConnection *connection = Connection(handle);
    const SqliteStatement statement = Compile(connection, sql, 0);
    return statement == nullptr ? -1 : Step(connection, statement.get(), rows);
}

// A connection that only reads is that of a tool, which sums up all rows: SQLite sorts as many of them in memory as its cache may
// have pages, here 16 MiB, and the others in files.
int ForbidWrites(void *handle) {
    if (Exec(handle, "pragma cache_size = -16384", nullptr) < 0)
        return -1;
    return Exec(handle, "pragma query_only = on", nullptr);
}

int Prepare(void *handle, const char *sql) {
    SqliteConnection *connection = Connection(handle);
    SqliteStatement statement = Compile(connection, sql, SQLITE_PREPARE_PERSISTENT);
    if (statement == nullptr)
        return -1;
    connection->statements.push_back(std::move(statement));
    return static_cast<int>(connection->statements.size()) - 1;
}

int Bind(sqlite3_stmt *statement, int index, const VELUDBValue &value) {
    switch (value.type) {
    case VELUDBValue::Type::integer:
        return sqlite3_bind_int64(statement, index, value.integer);
    case VELUDBValue::Type::real:
        return sqlite3_bind_double(statement, index, value.real);
    case VELUDBValue::Type::text:
        return sqlite3_bind_text64(statement, index, value.text != nullptr ? value.text : "", value.length,
                                   SQLITE_STATIC, SQLITE_UTF8);
    case VELUDBValue::Type::null:
        break;
    }
    return sqlite3_bind_null(statement, index);
}

// A statement keeps no lock and no pointer to a value once it has run, however it ends.
struct ResetAtEnd {
    sqlite3_stmt *statement;
    ~ResetAtEnd() {
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }
};

int Run(void *handle, int number, const VELUDBValue *values, size_t count, VELUDBResult *rows) {
    SqliteConnection *connection = Connection(handle);
    if (number < 0 || static_cast<size_t>(number) >= connection->statements.size())
        return Fail(connection, SQLITE_MISUSE, "no such statement");
    sqlite3_stmt *statement = connection->statements[static_cast<size_t>(number)].get();
    if (count != static_cast<size_t>(sqlite3_bind_parameter_count(statement)))
        return Fail(connection, SQLITE_MISUSE, "wrong number of values");
    const ResetAtEnd reset{statement};
    for (size_t i = 0; i < count; ++i)
        if (Bind(statement, static_cast<int>(i) + 1, values[i]) != SQLITE_OK)
            return Fail(connection);
    return Step(connection, statement, rows);
}

// The write lock is taken at once: a transaction that begins as a reader cannot wait for it later.
int Begin(void *handle, EngineBegin what) {
    return Exec(handle, what == EngineBegin::reading ? "begin" : "begin immediate", nullptr);
}

void Rollback(void *handle) {
    sqlite3 *db = Connection(handle)->db.get();
    if (sqlite3_get_autocommit(db) == 0)
        sqlite3_exec(db, "rollback", nullptr, nullptr, nullptr);
}

int Commit(void *handle) {
    if (Exec(handle, "commit", nullptr) >= 0)
        return 0;
    Rollback(handle);
    return -1;
}

int InTransaction(const void *handle) {
    return sqlite3_get_autocommit(Connection(handle)->db.get()) == 0;
}

int Sync(void *handle) {
    SqliteConnection *connection = Connection(handle);
    sqlite3 *db = connection->db.get();
    // A checkpoint that gets to the log's end has synced both files.
    int in_log = 0;
    int written_back = 0;
    const int result =
        sqlite3_wal_checkpoint_v2(db, nullptr, SQLITE_CHECKPOINT_PASSIVE, &in_log, &written_back);
    // Without room or right in the file itself, what the log has can still be brought to the disk.
    if (result != SQLITE_OK && result != SQLITE_BUSY && result != SQLITE_FULL && result != SQLITE_READONLY)
        return Fail(connection);
    if (result == SQLITE_OK && in_log >= 0 && written_back == in_log)
        return 0;
    // A checkpoint writes back and syncs nothing past the oldest reader: then too the log itself is synced.
    sqlite3_file *log = nullptr;
    if (sqlite3_file_control(db, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) == SQLITE_OK && log != nullptr &&
        log->pMethods != nullptr) {
        const int synced = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL);
        if (synced != SQLITE_OK)
            return Fail(connection, synced, sqlite3_errstr(synced));
    }
    return 0;
}

// A table that is not there has no code of its own.
bool LacksTable(const SqliteConnection *connection) {
    constexpr char kWords[] = "no such table: ";
    return connection->error.starts_with(kWords);
}

int StoreFailed(const void *handle) {
    switch (Connection(handle)->code & kPrimaryCode) {
    case SQLITE_ERROR:
        return LacksTable(Connection(handle)) ? 1 : 0;
    case SQLITE_AUTH:
    case SQLITE_BUSY:
    case SQLITE_CANTOPEN:
    case SQLITE_CORRUPT:
    case SQLITE_FULL:
    case SQLITE_INTERNAL:
    case SQLITE_IOERR:
    case SQLITE_LOCKED:
    case SQLITE_NOLFS:
    case SQLITE_NOTADB:
    case SQLITE_PERM:
    case SQLITE_PROTOCOL:
    case SQLITE_READONLY:
    case SQLITE_SCHEMA:
        return 1;
    default:
        return 0;
    }
}

// Beginning to write already keeps every other writer out, and a key that is the row's number needs no counter.
constexpr VELUDBWords kWords = {
    .path = "text",
    .serial = "integer",
    .real = "real",
    .clustered = "without rowid",
    .keeps_spelled_booleans = true,
    .triggers_call = false,
    .fails_whole = false,
    .pooled = false,
    .folds = true,
    .prepare_lock = nullptr,
    .count_on = nullptr,
    .compact = "vacuum",
    .has_table = "(select count(*) from sqlite_master where type = 'table' and name = 'TABLE')",
};

} // namespace

const VELUDBEngine *SqliteEngine() {
    static constexpr VELUDBEngine kEngine = {
        .seam = kEngineSeam,
        .name = "sqlite",
        .words = &kWords,
        .open = SqliteOpen,
        .close = [](void *connection) { delete Connection(connection); },
        .exec = Exec,
        .prepare = Prepare,
        .run = Run,
        .begin = Begin,
        .commit = Commit,
        .rollback = Rollback,
        .in_transaction = InTransaction,
        .sync = Sync,
        .error = [](const void *connection) { return Connection(connection)->error.c_str(); },
        .store_failed = StoreFailed,
        .connected = [](const void *) { return 1; },
        .forbid_writes = ForbidWrites,
    };
    return &kEngine;
}
