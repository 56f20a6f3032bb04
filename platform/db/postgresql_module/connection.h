// SPDX-License-Identifier: GPL-2.0-or-later
//
// One connection to a PostgreSQL server, shared by the files of its engine.
#pragma once

#include <libpq-fe.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/handle.h"

using PgHandle = std::unique_ptr<PGconn, CloseWith<PQfinish>>;
using PgRows = std::unique_ptr<PGresult, CloseWith<PQclear>>;

struct PgStatement {
    std::string sql;
    size_t parameters = 0;
};

inline constexpr size_t kNoStatement = SIZE_MAX;

// A pooler may give each transaction another session, and that session to another program afterwards. So statements have
// no names there, and settings end with their transaction.
struct PgConnection {
    PgHandle server;
    std::vector<PgStatement> statements;
    size_t parsed = kNoStatement; // which of them the session has without a name, while a transaction is open
    std::string settings;         // the statement that makes them, for the transaction that it stands in
    bool only_reads = false;
    bool not_followed = false; // a commit was answered before the synchronous standby had it
    std::string error;
    bool store_failed = false; // the last failure was the server's, not the statement's own
};

// Opens the database of a `postgresql://` URI; null, with the reason in `error`, on failure.
void *PgOpen(const char *uri, std::string *error);

// Keep the words of a failure for the connection and return -1: those given, or those of `rows` (null: no
// answer came).
int PgFail(PgConnection *connection, const char *words);
int PgFail(PgConnection *connection, const PGresult *rows);

// Waits for the answer to what was just sent (`sent`, the return of a PQsend... call): its last result, or null when it
// could not be sent or no answer came. A server that has stopped to answer is hung up on.
PgRows PgAnswer(PgConnection *connection, int sent);

// True for the result of a statement that succeeded, with rows or without.
bool PgSucceeded(const PGresult *rows);

// Returns an error text of the client library in one line.
std::string PgOneLine(const char *words);
