// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reads and writes of the catalogue operations, on the connections of the run. Values begin with the path
// that a write is about (or its whole statement): the log names a failed write by it.
#pragma once

#include <stdint.h>

#include <initializer_list>
#include <string>

#include "platform/index/store.h"
#include "platform/veluindex.h"

// Milliseconds: how old a batch is, and for how long a database has been away.
extern int64_t (*run_clock)();

// Writes through a registered statement, within the batch. Returns the number of rows changed, or -1, told: a
// statement that failed by itself has a line, a store that is away one a run and catalogue, with the number of rows.
int RunWrite(Catalogue catalogue, int statement, std::initializer_list<VELUDBValue> values);
int RunWrite(Catalogue catalogue, int statement, const VELUDBValue *values, size_t count);

// Writes through a statement that somebody has put together.
int RunWriteText(Catalogue catalogue, const char *sql);

// Reads through a registered statement; sees what the batch has written. Null on failure, told.
ResultHandle RunRead(Catalogue catalogue, int statement, std::initializer_list<VELUDBValue> values);

// Commits the batch and lends the connection, for what must not run inside a transaction or goes on using the
// connection. Null on failure, told.
StoreConnectionRef RunConnection(Catalogue catalogue);

// A statement of the run has failed on a connection that was lent. True when that is worth a line of the borrower's:
// not when the store is away and that has been told.
bool RunBorrowedFailed(Catalogue catalogue, VELUDB *db);

bool RunIsOpen();

// A run of its own around a single operation, unless one is open.
struct RunScope {
    RunScope();
    RunScope(const RunScope &) = delete;
    RunScope &operator=(const RunScope &) = delete;
    ~RunScope();

    // Ends that run. `result` when all is stored, else -1.
    [[nodiscard]] int Finish(int result);

    bool own;
};

VELUDBValue TextValue(const std::string &text);
