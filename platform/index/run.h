// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reads and writes of the catalogue operations, on the connections of the run. Values begin with the path
// that a write is about (or its whole statement): the log names a failed write by it.
#pragma once

#include <stdint.h>

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "platform/index/run_state.h"
#include "platform/index/store.h"
#include "platform/veluindex.h"

// Writes through a registered statement, within the batch. Returns the number of rows changed, or -1, logged: a statement
// that failed by itself has a line of its own, a store that is away has one a run and catalogue, with the number of rows.
int RunWrite(Catalogue catalogue, int statement, std::initializer_list<VELUDBValue> values);
int RunWrite(Catalogue catalogue, int statement, const VELUDBValue *values, size_t count);

// Writes what stands or falls together, in the order of the list: all of it is stored, or nothing of it. Returns what the
// first write alone would. `first_cover`: the file that they are about has a cover, and no row of it says so yet: when writes that
// were taken are not stored after all, the cover goes.
int RunWriteUnit(Catalogue catalogue, std::span<const StoreWrite> writes, bool first_cover = false);

// Writes through a statement that somebody has put together.
int RunWriteText(Catalogue catalogue, const char *sql);

// Reads through a registered statement; sees what the batch has written. Null on failure, logged likewise.
ResultHandle RunRead(Catalogue catalogue, int statement, std::span<const VELUDBValue> values);
inline ResultHandle RunRead(Catalogue catalogue, int statement, std::initializer_list<VELUDBValue> values) {
    return RunRead(catalogue, statement, std::span(values.begin(), values.size()));
}

// Commits the batch and lends the connection, for what must not run inside a transaction or goes on using the
// connection. Null on failure, logged likewise.
StoreConnectionRef RunConnection(Catalogue catalogue);

// Reads through a statement that somebody has put together, on the connection that was lent last. Null on failure, which
// RunBorrowedFailed is to be told.
ResultHandle RunQuery(Catalogue catalogue, const char *sql);

// Notes that a statement of the run has failed on a connection that was lent. True when the borrower is to log it: a store
// that is away has its one line.
bool RunBorrowedFailed(Catalogue catalogue, VELUDB *db);

// Tells whether several programs may write to the catalogue at the same time; not when it is away.
bool RunIsShared(Catalogue catalogue);

// Tells whether a run is going on.
bool RunIsOpen();

// A run of its own around a single operation, unless one is open.
struct RunScope {
    RunScope();
    RunScope(const RunScope &) = delete;
    RunScope &operator=(const RunScope &) = delete;
    ~RunScope();

    // Ends that run. Returns `result` when all is stored, else -1.
    [[nodiscard]] int Finish(int result);

    bool own;
};

VELUDBValue TextValue(std::string_view text);
VELUDBValue TextValueOrNull(std::string_view text); // an empty text is null
