// SPDX-License-Identifier: GPL-2.0-or-later
//
// What stands between the catalogue operations and the databases: connections that live for a run, and
// writes that are gathered into batches.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/index/schema.h"
#include "platform/veludb.h"

// One connection with the statements prepared on it, by their number in the store.
struct StoreConnection {
    VELUDB *db = nullptr;
    std::vector<int> prepared;

    StoreConnection() = default;
    StoreConnection(const StoreConnection &) = delete;
    StoreConnection &operator=(const StoreConnection &) = delete;
    ~StoreConnection() { VELUDBClose(db); }
};

using StoreConnectionRef = std::shared_ptr<StoreConnection>;

// Opens the database that the configuration names for a catalogue, with its tables up to date. Null, with one
// log line, on failure.
StoreConnectionRef StoreConnect(Catalogue catalogue);

// The number of a statement, the same for every use of the same text.
int StoreStatement(const std::string &sql);

// Runs a registered statement, preparing it at its first use.
int StoreRun(StoreConnection *connection, int statement, const VELUDBValue *values, size_t count,
             VELUDBResult **rows);
