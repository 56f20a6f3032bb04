// SPDX-License-Identifier: GPL-2.0-or-later
//
// What stands between the catalogue operations and the databases: connections that live for a run, and
// writes that are gathered into batches.
#pragma once

#include <memory>
#include <vector>

#include "platform/index/schema.h"
#include "platform/veludb.h"

// One connection with the statements prepared on it, by their number in the store.
struct StoreConnection {
    DatabaseHandle db;
    std::vector<int> prepared;
};

using StoreConnectionRef = std::shared_ptr<StoreConnection>;

// Opens the database that the configuration names for a catalogue, with its tables up to date. Null, with one
// log line unless `tell` is false, on failure.
StoreConnectionRef StoreConnect(Catalogue catalogue, bool tell);

// Runs a statement by its number (statements.h), preparing it at its first use. `rows` may be null, as for VELUDBRun.
int StoreRun(StoreConnection *connection, int statement, const VELUDBValue *values, size_t count,
             VELUDBResult **rows);
