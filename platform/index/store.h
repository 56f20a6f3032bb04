// SPDX-License-Identifier: GPL-2.0-or-later
//
// What stands between the catalogue operations and the databases: connections that live for a run, and
// writes that are gathered into batches.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/db/words.h"
#include "platform/index/schema.h"
#include "platform/veludb.h"

// One connection with the statements prepared on it, by their number in the store.
struct StoreConnection {
    Catalogue catalogue;
    DatabaseHandle db;
    std::vector<int> prepared;
    bool has_files = false;                             // the tables about files are there (file_state.h)
    std::set<std::string, std::less<>> fact_names = {}; // that have a number
};

using StoreConnectionRef = std::shared_ptr<StoreConnection>;

// Opens the database that the configuration names for a catalogue, with its tables up to date. Null, with one
// log line unless `tell` is false, on failure.
StoreConnectionRef StoreConnect(Catalogue catalogue, bool tell);

// Runs a statement by its number (statements.h), preparing it at its first use. `rows` may be null, as for VELUDBRun.
int StoreRun(StoreConnection *connection, int statement, const VELUDBValue *values, size_t count,
             VELUDBResult **rows);

// Begins a transaction on a catalogue's database (`one_view`: whose reads all see the same moment) that decides by what it
// reads: what answers is the database itself, which takes writes, and no copy that lags behind. Returns 0 or -1.
int StoreBegin(VELUDB *db, Catalogue catalogue, bool one_view = false);

// Runs a write that changes nothing. Returns 0, or -1 where none may be.
int StoreWriteNothing(VELUDB *db, Catalogue catalogue);

// Runs `call`, which returns at least 0 when all is well, in such a transaction of its own where the engine must not run
// anything outside of one. Returns its result, or -1.
template <typename Call>
int StoreAlone(VELUDB *db, Catalogue catalogue, Call call) {
    if (!VELUDBWordsOf(db).pooled || VELUDBInTransaction(db) != 0)
        return call();
    if (StoreBegin(db, catalogue) != 0)
        return -1;
    const int result = call();
    if (result >= 0)
        return VELUDBCommit(db) == 0 ? result : -1;
    VELUDBRollback(db);
    return -1;
}

// Runs `call`, which tells whether all is well, in a transaction of its own: all that it writes is stored, or nothing of it.
// Returns 0 or -1.
template <typename Call>
int StoreTogether(VELUDB *db, Catalogue catalogue, Call call) {
    if (StoreBegin(db, catalogue) != 0)
        return -1;
    if (call() && VELUDBCommit(db) == 0)
        return 0;
    VELUDBRollback(db);
    return -1;
}
