// SPDX-License-Identifier: GPL-2.0-or-later
//
// Failures of a connection: their words for the log, and whether the server or the statement is to blame.
#include "platform/db/postgresql_module/connection.h"

#include <poll.h>

#include <string_view>
#include <utility>

#include "platform/clock.h"

namespace {

// SQLSTATE codes, and classes of them, after which the same statement may succeed another time
// (postgresql.org, Appendix A).
constexpr std::string_view kStoreStates[] = {
    "08",    // the connection
    "25006", // the server takes no writes: a standby
    "25P02", // another statement has failed before, which says nothing about this one
    "25P03", // the transaction has stood still for too long
    "25P04", // it has taken too long
    "26",    // a prepared statement that is no longer there, on a connection that somebody else has used
    "28",    // the password, or no right to connect
    "3D",    // no such database
    "3F",    // no such schema
    "40",    // given up for another transaction: serialisation, deadlock
    "42501", // no right to do it, as with a read-only file
    "42P01", // no such table
    "53",    // disk full, out of memory, too many connections
    "55P03", // locked for longer than we wait
    "57",    // an operator's intervention: shutdown, cancel, still starting
    "58",    // input and output
    "XX",    // internal: damaged data, damaged index
};

// The longest that a statement may take: to compact the tables of a library of millions. A server whose machine lives
// but whose processes stand still keeps its connections for ever, and the kernel sees nothing wrong with them.
constexpr int64_t kAnswerMilliseconds = int64_t{10} * 60 * 1000;

// True when the next result can be had without waiting.
bool WaitForResult(PGconn *server) {
    const int64_t end = MonotonicMilliseconds() + kAnswerMilliseconds;
    while (PQisBusy(server) != 0) {
        const int64_t left = end - MonotonicMilliseconds();
        if (left <= 0)
            return false;
        pollfd wait = {PQsocket(server), POLLIN, 0};
        if (poll(&wait, 1, static_cast<int>(left)) > 0 && PQconsumeInput(server) == 0)
            return true; // the connection has broken: the result says so
    }
    return true;
}

bool IsStoreState(std::string_view state) {
    for (const std::string_view known : kStoreStates)
        if (state.substr(0, known.size()) == known)
            return true;
    return false;
}

} // namespace

std::string PgOneLine(const char *words) {
    std::string line(words != nullptr ? words : "");
    while (!line.empty() && line.back() == '\n')
        line.pop_back();
    for (char &c : line)
        if (c == '\n' || c == '\t')
            c = ' ';
    return line;
}

int PgFail(PgConnection *connection, const char *words) {
    connection->error = words;
    connection->store_failed = false;
    return -1;
}

int PgFail(PgConnection *connection, const PGresult *rows) {
    const char *state = rows != nullptr ? PQresultErrorField(rows, PG_DIAG_SQLSTATE) : nullptr;
    const char *words = rows != nullptr ? PQresultErrorField(rows, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
    if (connection->server != nullptr)
        connection->error = PgOneLine(words != nullptr ? words : PQerrorMessage(connection->server.get()));
    else
        connection->error = "the server has stopped to answer";
    // Without a state it was the client library that failed: no answer, or no memory for it.
    connection->store_failed =
        state == nullptr || IsStoreState(state) || PQstatus(connection->server.get()) != CONNECTION_OK;
    return -1;
}

bool PgSucceeded(const PGresult *rows) {
    const ExecStatusType status = PQresultStatus(rows);
    return status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK;
}

PgRows PgAnswer(PgConnection *connection, int sent) {
    PGconn *server = connection->server.get();
    PgRows answer;
    while (sent != 0) {
        if (!WaitForResult(server)) {
            connection->server.reset();
            return nullptr;
        }
        PgRows next(PQgetResult(server));
        if (next == nullptr)
            break;
        const bool failed = answer != nullptr && !PgSucceeded(answer.get());
        if (!failed) // of several statements the first that fails counts
            answer = std::move(next);
    }
    return answer;
}
