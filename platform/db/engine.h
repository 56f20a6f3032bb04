// SPDX-License-Identifier: GPL-2.0-or-later
//
// The seam between libveludb and the databases: an engine is a table of functions. SQLite's is linked in;
// the others are modules that are loaded when a URI names them, so that a machine which does not use one
// does not carry its client library.
#pragma once

#include <stddef.h>

#include <string>

#include "platform/db/result.h"
#include "platform/db/words.h"
#include "platform/veludb.h"

// Raised whenever the table changes, so that a module of another build is refused and not called wrongly.
inline constexpr int kEngineSeam = 6;

// What a transaction is begun for.
enum class EngineBegin {
    writing,
    oneView, // the same, and all its reads see the same moment
    reading, // as VELUDBBeginReading promises
};

// A connection is the engine's own; veludb.h says what each function promises. `rows` may be null, else it
// comes empty and receives the columns and rows. Integers are 0 (or a number of rows) on success, -1 on
// failure.
struct VELUDBEngine {
    int seam;         // kEngineSeam of the build that made the table
    const char *name; // for people
    const VELUDBWords *words;
    void *(*open)(const char *uri, std::string *error); // null on failure, with its reason in `error`
    void (*close)(void *connection);
    int (*exec)(void *connection, const char *sql, VELUDBResult *rows);
    int (*prepare)(void *connection, const char *sql);
    int (*run)(void *connection, int statement, const VELUDBValue *values, size_t count, VELUDBResult *rows);
    int (*begin)(void *connection, EngineBegin what);
    int (*commit)(void *connection);
    void (*rollback)(void *connection);
    int (*in_transaction)(const void *connection);
    int (*sync)(void *connection);
    const char *(*error)(const void *connection);
    int (*store_failed)(const void *connection);
    int (*connected)(const void *connection);
    int (*forbid_writes)(void *connection); // see VELUDBForbidWrites
};

// Returns the engine behind SQLite files.
const VELUDBEngine *SqliteEngine();

// Opens `uri` through a table; `owner`, `tell` and the result are VELUDBOpen's. A table that leaves out a function, or a word
// that no engine can do without, fails like a database that cannot be reached.
VELUDB *EngineOpen(const VELUDBEngine &engine, const char *uri, const char *owner, bool tell = true,
                   std::string *reason = nullptr);

// What a module exports, with C linkage and under this name: a function that returns its table.
using VELUDBModuleEntry = const VELUDBEngine *(*)();
inline constexpr char kModuleEntry[] = "VELUDBModuleEngine";

// Returns the table of the module in `file` (a name inside the module folder), which then stays loaded. Null,
// with the reason in `error`, when it is missing or belongs to another build.
const VELUDBEngine *ModuleEngine(const char *file, std::string *error);
