// SPDX-License-Identifier: GPL-2.0-or-later
//
// The PostgreSQL engine: statements, transactions and results.
#include "platform/db/engine.h"

#include <limits.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "platform/db/postgresql_module/connection.h"

namespace {

PgConnection *Connection(void *connection) {
    return static_cast<PgConnection *>(connection);
}

const PgConnection *Connection(const void *connection) {
    return static_cast<const PgConnection *>(connection);
}

// Of the built-in types real and double precision (pg_type.dat), the two whose text differs between engines.
constexpr Oid kReal = 700;
constexpr Oid kDoublePrecision = 701;

bool IsReal(const PGresult *rows, int column) {
    const Oid type = PQftype(rows, column);
    return type == kReal || type == kDoublePrecision;
}

void Copy(const PGresult *from, VELUDBResult *to) {
    const int columns = PQnfields(from);
    for (int i = 0; i < columns; ++i)
        to->columns.emplace_back(PQfname(from, i));
    const int count = PQntuples(from);
    for (int row = 0; row < count; ++row) {
        for (int i = 0; i < columns; ++i) {
            const char *text = PQgetvalue(from, row, i);
            if (PQgetisnull(from, row, i) != 0)
                ResultAddNull(to);
            else if (IsReal(from, i))
                ResultAddReal(to, strtod(text, nullptr));
            else
                ResultAddCell(to, text, static_cast<size_t>(PQgetlength(from, row, i)));
        }
    }
}

// Returns how many rows a statement changed. The command tag of a query counts rows too, but those are the
// ones that it found.
int Changed(PGresult *rows) {
    constexpr const char *kChanges[] = {"INSERT ", "UPDATE ", "DELETE "};
    for (const char *change : kChanges)
        if (strncmp(PQcmdStatus(rows), change, strlen(change)) == 0)
            return static_cast<int>(std::min<long long>(strtoll(PQcmdTuples(rows), nullptr, 10), INT_MAX));
    return 0;
}

int Finish(PgConnection *connection, const PgRows &answer, VELUDBResult *rows) {
    if (PQresultStatus(answer.get()) == PGRES_EMPTY_QUERY)
        return PgFail(connection, "no statement");
    if (!PgSucceeded(answer.get()))
        return PgFail(connection, answer.get());
    if (rows != nullptr)
        Copy(answer.get(), rows);
    return Changed(answer.get());
}

PGTransactionStatusType Status(const PgConnection *connection) {
    return PQtransactionStatus(connection->server.get());
}

// The protocol of prepared statements: unlike PQexec it refuses a second statement in the text.
int Send(PgConnection *connection, const char *sql, VELUDBResult *rows) {
    constexpr int kTextResult = 0;
    connection->parsed = kNoStatement;
    const PgRows answer = PgAnswer(connection, PQsendQueryParams(connection->server.get(), sql, 0, nullptr,
                                                                 nullptr, nullptr, nullptr, kTextResult));
    return Finish(connection, answer, rows);
}

// The last failure keeps its words.
void Rollback(PgConnection *connection) {
    connection->parsed = kNoStatement;
    const PGTransactionStatusType status = Status(connection);
    if (status == PQTRANS_INTRANS || status == PQTRANS_INERROR)
        PgAnswer(connection, PQsendQuery(connection->server.get(), "rollback"));
}

// A transaction with a failed statement in it would answer a commit with a rollback, and success. A commit whose wait for
// a synchronous standby an operator has cancelled is answered with success, too: it may not outlive this server.
int Commit(PgConnection *connection) {
    if (Status(connection) == PQTRANS_IDLE)
        return PgFail(connection, "no transaction is open");
    connection->not_followed = false;
    if (Status(connection) == PQTRANS_INTRANS && Send(connection, "commit", nullptr) >= 0) {
        if (!connection->not_followed)
            return 0;
        PgFail(connection, "the wait for a synchronous standby was broken off");
        connection->store_failed = true;
        return -1;
    }
    Rollback(connection);
    return -1;
}

// PostgreSQL only warns of a transaction within another.
int Begin(PgConnection *connection, EngineBegin what) {
    if (Status(connection) == PQTRANS_INTRANS)
        return PgFail(connection, "a transaction is open");
    std::string sql = "begin";
    if (what != EngineBegin::writing)
        sql += " isolation level repeatable read";
    if (what == EngineBegin::reading || connection->only_reads)
        sql += " read only";
    if (Send(connection, sql.c_str(), nullptr) < 0)
        return -1;
    if (Send(connection, connection->settings.c_str(), nullptr) >= 0)
        return 0;
    Rollback(connection);
    return -1;
}

// Runs `call`, in a transaction that keeps it from writing when that is forbidden.
template <typename Call>
int Guarded(PgConnection *connection, Call call) {
    if (!connection->only_reads || Status(connection) != PQTRANS_IDLE)
        return call();
    if (Begin(connection, EngineBegin::writing) != 0)
        return -1;
    const int result = call();
    if (result >= 0 && Commit(connection) == 0)
        return result;
    Rollback(connection);
    return -1;
}

int Exec(void *handle, const char *sql, VELUDBResult *rows) {
    PgConnection *connection = Connection(handle);
    return Guarded(connection, [&] { return Send(connection, sql, rows); });
}

// The largest number of the parameters in a statement, none of which is named in a literal.
size_t ParameterCount(std::string_view sql) {
    size_t most = 0;
    for (size_t at = sql.find('$'); at != std::string_view::npos; at = sql.find('$', at + 1)) {
        size_t number = 0;
        std::from_chars(sql.data() + at + 1, sql.data() + sql.size(), number);
        most = std::max(most, number);
    }
    return most;
}

// The statement goes to the server now, for its errors, and each time that another one has come in between: it has no name,
// which would be there for whoever has the session next, or be there already.
int Prepare(void *handle, const char *sql) {
    PgConnection *connection = Connection(handle);
    connection->parsed = kNoStatement;
    const PgRows prepared =
        PgAnswer(connection, PQsendPrepare(connection->server.get(), "", sql, 0, nullptr));
    if (!PgSucceeded(prepared.get()))
        return PgFail(connection, prepared.get());
    connection->statements.push_back({sql, ParameterCount(sql)});
    if (Status(connection) == PQTRANS_INTRANS)
        connection->parsed = connection->statements.size() - 1;
    return static_cast<int>(connection->statements.size()) - 1;
}

// Appends a value as the text that the server reads for a parameter of any type, with its terminator.
void Append(std::string *text, const VELUDBValue &value) {
    char digits[32]; // the longest number of either type is shorter
    std::to_chars_result end = {digits, {}};
    switch (value.type) {
    case VELUDBValue::Type::integer:
        end = std::to_chars(digits, digits + sizeof digits, value.integer);
        break;
    case VELUDBValue::Type::real:
        end = std::to_chars(digits, digits + sizeof digits, value.real);
        break;
    case VELUDBValue::Type::text:
        if (value.length > 0)
            text->append(value.text, value.length);
        break;
    case VELUDBValue::Type::null:
        break;
    }
    text->append(digits, end.ptr);
    text->push_back('\0');
}

// SQLite too stores what is no number as NULL.
bool IsNull(const VELUDBValue &value) {
    return value.type == VELUDBValue::Type::null ||
           (value.type == VELUDBValue::Type::real && isnan(value.real));
}

// The values of a statement as texts, one behind the other.
struct Texts {
    std::string bytes;
    std::vector<const char *> each; // null for NULL
};

Texts TextsOf(const VELUDBValue *values, size_t count) {
    Texts texts;
    std::vector<size_t> offsets;
    for (size_t i = 0; i < count; ++i) {
        offsets.push_back(texts.bytes.size());
        Append(&texts.bytes, values[i]);
    }
    for (size_t i = 0; i < count; ++i)
        texts.each.push_back(IsNull(values[i]) ? nullptr : texts.bytes.data() + offsets[i]);
    return texts;
}

int SendStatement(PgConnection *connection, size_t number, const VELUDBValue *values, size_t count,
                  VELUDBResult *rows) {
    constexpr int kTextResult = 0;
    PGconn *server = connection->server.get();
    const Texts texts = TextsOf(values, count);
    const int parameters = static_cast<int>(count);
    const bool again = Status(connection) == PQTRANS_INTRANS && connection->parsed == number;
    connection->parsed = kNoStatement;
    const PgRows answer = PgAnswer(
        connection,
        again ? PQsendQueryPrepared(server, "", parameters, texts.each.data(), nullptr, nullptr, kTextResult)
              : PQsendQueryParams(server, connection->statements[number].sql.c_str(), parameters, nullptr,
                                  texts.each.data(), nullptr, nullptr, kTextResult));
    if (Status(connection) == PQTRANS_INTRANS)
        connection->parsed = number;
    return Finish(connection, answer, rows);
}

int Run(void *handle, int number, const VELUDBValue *values, size_t count, VELUDBResult *rows) {
    PgConnection *connection = Connection(handle);
    if (number < 0 || static_cast<size_t>(number) >= connection->statements.size())
        return PgFail(connection, "no such statement");
    const auto statement = static_cast<size_t>(number);
    if (count != connection->statements[statement].parameters)
        return PgFail(connection, "wrong number of values");
    return Guarded(connection, [&] { return SendStatement(connection, statement, values, count, rows); });
}

// A failed statement ends the transaction here: the server takes nothing more until it is rolled back.
int InTransaction(const void *handle) {
    return Status(Connection(handle)) == PQTRANS_INTRANS;
}

// The one commit that waits for the disk. The server flushes its log for a transaction that has written to it, and with it
// all that was committed before; the message costs a few bytes of log and leaves nothing behind.
int Sync(void *handle) {
    constexpr char kMessage[] =
        "select set_config('client_min_messages', 'warning', true), "
        "set_config('synchronous_commit', case current_setting('synchronous_commit') when 'off' then "
        "'on' "
        "else current_setting('synchronous_commit') end, true), pg_logical_emit_message(true, 'velu', '')";
    PgConnection *connection = Connection(handle);
    if (Send(connection, "begin", nullptr) >= 0 && Send(connection, kMessage, nullptr) >= 0 &&
        Commit(connection) == 0)
        return 0;
    Rollback(connection);
    return -1;
}

// Saving a row again uses up a number of the counter, so that a key of 32 bits would run out one day.
constexpr VELUDBWords kWords = {
    .path = "text collate \"C\"",
    .serial = "bigserial",
    .real = "double precision",
    .clustered = "",
    .keeps_spelled_booleans = false,
    .triggers_call = true,
    .fails_whole = true,
    .pooled = true,
    .folds = false,
    .prepare_lock = "select pg_advisory_xact_lock(1986358645)",
    .count_on = "select setval(pg_get_serial_sequence('TABLE', 'id'), max(id)) from TABLE having max(id) > 0",
    .compact = "vacuum (skip_locked)", // outside a transaction no time limit of ours holds
    .has_table = "(select count(*) from pg_class where oid = to_regclass('TABLE'))",
};

} // namespace

extern "C" __attribute__((visibility("default"))) const VELUDBEngine *VELUDBModuleEngine() {
    static constexpr VELUDBEngine kEngine = {
        .seam = kEngineSeam,
        .name = "postgresql",
        .words = &kWords,
        .open = PgOpen,
        .close = [](void *connection) { delete Connection(connection); },
        .exec = Exec,
        .prepare = Prepare,
        .run = Run,
        .begin = [](void *handle, EngineBegin what) { return Begin(Connection(handle), what); },
        .commit = [](void *handle) { return Commit(Connection(handle)); },
        .rollback = [](void *handle) { Rollback(Connection(handle)); },
        .in_transaction = InTransaction,
        .sync = Sync,
        .error = [](const void *connection) { return Connection(connection)->error.c_str(); },
        .store_failed = [](const void *connection) { return Connection(connection)->store_failed ? 1 : 0; },
        .connected =
            [](const void *connection) {
                return PQstatus(Connection(connection)->server.get()) == CONNECTION_OK ? 1 : 0;
            },
        .forbid_writes =
            [](void *connection) {
                Connection(connection)->only_reads = true;
                return 0;
            },
    };
    return &kEngine;
}
