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

// The protocol of prepared statements: unlike PQexec it refuses a second statement in the text.
int Exec(void *handle, const char *sql, VELUDBResult *rows) {
    PgConnection *connection = Connection(handle);
    constexpr int kTextResult = 0;
    const PgRows answer = PgAnswer(connection, PQsendQueryParams(connection->server.get(), sql, 0, nullptr,
                                                                 nullptr, nullptr, nullptr, kTextResult));
    return Finish(connection, answer, rows);
}

std::string StatementName(size_t number) {
    return "velu" + std::to_string(number);
}

int Prepare(void *handle, const char *sql) {
    PgConnection *connection = Connection(handle);
    const std::string name = StatementName(connection->statements.size());
    const PgRows prepared =
        PgAnswer(connection, PQsendPrepare(connection->server.get(), name.c_str(), sql, 0, nullptr));
    if (!PgSucceeded(prepared.get()))
        return PgFail(connection, prepared.get());
    const PgRows described =
        PgAnswer(connection, PQsendDescribePrepared(connection->server.get(), name.c_str()));
    if (!PgSucceeded(described.get()))
        return PgFail(connection, described.get());
    connection->statements.push_back(static_cast<size_t>(PQnparams(described.get())));
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

int Run(void *handle, int number, const VELUDBValue *values, size_t count, VELUDBResult *rows) {
    PgConnection *connection = Connection(handle);
    if (number < 0 || static_cast<size_t>(number) >= connection->statements.size())
        return PgFail(connection, "no such statement");
    const auto statement = static_cast<size_t>(number);
    if (count != connection->statements[statement])
        return PgFail(connection, "wrong number of values");
    std::string text;
    std::vector<size_t> offsets;
    for (size_t i = 0; i < count; ++i) {
        offsets.push_back(text.size());
        Append(&text, values[i]);
    }
    std::vector<const char *> parameters;
    for (size_t i = 0; i < count; ++i)
        parameters.push_back(IsNull(values[i]) ? nullptr : text.data() + offsets[i]);
    constexpr int kTextResult = 0;
    const PgRows answer =
        PgAnswer(connection, PQsendQueryPrepared(connection->server.get(), StatementName(statement).c_str(),
                                                 static_cast<int>(count), parameters.data(), nullptr, nullptr,
                                                 kTextResult));
    return Finish(connection, answer, rows);
}

PGTransactionStatusType Status(const void *handle) {
    return PQtransactionStatus(Connection(handle)->server.get());
}

// PostgreSQL only warns of a transaction within another.
int Begin(void *handle) {
    return Status(handle) == PQTRANS_INTRANS ? PgFail(Connection(handle), "a transaction is open")
                                             : Exec(handle, "begin", nullptr);
}

void Rollback(void *handle) {
    const PGTransactionStatusType status = Status(handle);
    if (status == PQTRANS_INTRANS || status == PQTRANS_INERROR)
        PgAnswer(Connection(handle), PQsendQuery(Connection(handle)->server.get(), "rollback"));
}

// A transaction with a failed statement in it would answer a commit with a rollback, and success.
int Commit(void *handle) {
    if (Status(handle) == PQTRANS_IDLE)
        return PgFail(Connection(handle), "no transaction is open");
    if (Status(handle) == PQTRANS_INTRANS && Exec(handle, "commit", nullptr) >= 0)
        return 0;
    Rollback(handle);
    return -1;
}

// A failed statement ends the transaction here: the server takes nothing more until it is rolled back.
int InTransaction(const void *handle) {
    return Status(handle) == PQTRANS_INTRANS;
}

// The one commit that waits for the disk. The server flushes its log for a transaction that has written to
// it, and with it all that was committed before; the message costs a few bytes of log and leaves nothing
// behind.
int Sync(void *handle) {
    PgConnection *connection = Connection(handle);
    const PgRows answer =
        PgAnswer(connection, PQsendQuery(connection->server.get(),
                                         "begin; set local synchronous_commit = on; "
                                         "select pg_logical_emit_message(true, 'velu', ''); commit"));
    if (PgSucceeded(answer.get()))
        return 0;
    PgFail(connection, answer.get());
    Rollback(handle);
    return -1;
}

// Saving a row again uses up a number of the counter, so that a key of 32 bits would run out one day.
constexpr VELUDBWords kWords = {
    .path = "text collate \"C\"",
    .serial = "bigserial",
    .real = "double precision",
    .keeps_spelled_booleans = false,
    .prepare_lock = "select pg_advisory_xact_lock(1986358645)",
    .one_view = "set transaction isolation level repeatable read",
    .count_on = "select setval(pg_get_serial_sequence('TABLE', 'id'), max(id)) from TABLE having max(id) > 0",
    .begin_reading = "begin isolation level repeatable read read only",
    .forbid_writes = "set default_transaction_read_only = on",
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
        .begin = Begin,
        .commit = Commit,
        .rollback = Rollback,
        .in_transaction = InTransaction,
        .sync = Sync,
        .error = [](const void *connection) { return Connection(connection)->error.c_str(); },
        .store_failed = [](const void *connection) { return Connection(connection)->store_failed ? 1 : 0; },
        .connected =
            [](const void *connection) {
                return PQstatus(Connection(connection)->server.get()) == CONNECTION_OK ? 1 : 0;
            },
    };
    return &kEngine;
}
