// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a failure means: the words for the log, and whether the server or the statement is to blame.
#include "platform/db/postgresql_module/connection.h"

#include <string_view>

namespace {

// SQLSTATE codes, and classes of them, after which the same statement may succeed another time
// (postgresql.org, Appendix A).
constexpr std::string_view kStoreStates[] = {
    "08",    // the connection
    "25006", // the server takes no writes: a standby
    "40",    // given up for another transaction: serialisation, deadlock
    "42501", // no right to do it, as with a read-only file
    "53",    // disk full, out of memory, too many connections
    "55P03", // locked for longer than we wait
    "57",    // an operator's intervention: shutdown, cancel, still starting
    "58",    // input and output
    "XX",    // internal: damaged data, damaged index
};

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
    connection->error = PgOneLine(words != nullptr ? words : PQerrorMessage(connection->server.get()));
    // Without a state it was the client library that failed: no answer, or no memory for it.
    connection->store_failed =
        state == nullptr || IsStoreState(state) || PQstatus(connection->server.get()) != CONNECTION_OK;
    return -1;
}

bool PgSucceeded(const PGresult *rows) {
    const ExecStatusType status = PQresultStatus(rows);
    return status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK;
}
