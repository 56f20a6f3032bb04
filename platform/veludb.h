// SPDX-License-Identifier: GPL-2.0-or-later
//
// libveludb: one interface to the databases behind the catalogues. Nothing above it knows which engine
// answers: SQLite (linked in) or PostgreSQL (a module that is loaded when a URI names it).
//
// All results are text, as in a result set of either engine's command line: integers in decimal, reals
// with enough digits to read back, booleans "t" and "f", NULL as a null pointer. Text parameters are bytes
// without NUL and are stored exactly. A connection belongs to one thread. Only opening logs; any other
// failure leaves its words for VELUDBErrorGet, and callers say what they tried.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/handle.h"

struct VELUDB;       // an open connection
struct VELUDBResult; // a result set, complete in memory and independent of its connection
struct VELUDBWords;  // what engines spell differently

// Opens `sqlite:PATH` (file and its folder are made when missing) or a `postgresql://` (`postgres://`) URI.
// Null, and one log line, when the URI is bad or the database cannot be reached; the line says whose database it is
// when `owner` ("media catalogue") does. `tell` false leaves the line out, for those who have told it before. `reason`, unless
// null, receives the reason in any case.
VELUDB *VELUDBOpen(const char *uri, const char *owner = nullptr, bool tell = true,
                   std::string *reason = nullptr);

// Opens only what is there: a file that is missing is not made, but fails like a database that cannot be reached.
VELUDB *VELUDBOpenExisting(const char *uri, const char *owner = nullptr);

// True for a file that is missing, with the reason in errno; nobody is told.
[[nodiscard]] bool VELUDBIsMissing(const char *uri);

// True when a reason is that of a file whose content is damaged, or which is no database.
[[nodiscard]] bool VELUDBIsDamage(std::string_view reason);

// True when what asks the server of a URI cannot be loaded: it is a module with a library of its own.
[[nodiscard]] bool VELUDBLacksModule(const char *uri);

// What the URI of a file begins with.
inline constexpr char kVELUDBFileScheme[] = "sqlite:";

// Returns the path of the file that a URI names, within it; null for a server or a missing URI.
const char *VELUDBFileGet(const char *uri);

// Returns what is behind the scheme of a server's URI, within it; null for a file, for a scheme that no engine has, and
// for a missing URI.
const char *VELUDBServerGet(const char *uri);

// Rolls back what is not committed and closes. Null does nothing.
void VELUDBClose(VELUDB *db);

using DatabaseHandle = std::unique_ptr<VELUDB, CloseWith<VELUDBClose>>;

void VELUDBFreeResult(VELUDBResult *result);

using ResultHandle = std::unique_ptr<VELUDBResult, CloseWith<VELUDBFreeResult>>;

// Runs one statement. `result` may be null; otherwise it receives the rows (an empty result for a statement
// that gives none), to be freed with VELUDBFreeResult, or null on failure. Returns the number of rows
// inserted, updated or deleted (0 for a query), or -1.
int VELUDBExecute(VELUDB *db, const char *sql, VELUDBResult **result);

// Runs one statement for its rows. Null on failure.
ResultHandle VELUDBQuery(VELUDB *db, const char *sql);

// One value of a prepared statement's parameter list. Text is not owned and need live only for the call.
struct VELUDBValue {
    enum class Type { null, integer, real, text } type = Type::null;
    int64_t integer = 0;
    double real = 0;
    const char *text = nullptr;
    size_t length = 0;

    static VELUDBValue Integer(int64_t value);
    static VELUDBValue Real(double value);
    static VELUDBValue Text(const char *bytes, size_t length);
};

// Prepares `sql` with parameters $1, $2, ... (each used in order of its first appearance). Returns a handle
// of at least 0 that is valid for the connection's life, or -1.
int VELUDBPrepare(VELUDB *db, const char *sql);

// Runs a prepared statement; parameters, result and return value as for VELUDBExecute.
int VELUDBRun(VELUDB *db, int statement, const VELUDBValue *values, size_t count, VELUDBResult **result);

// Runs a prepared statement for its rows. Null on failure.
ResultHandle VELUDBRunQuery(VELUDB *db, int statement, const VELUDBValue *values, size_t count);

// Begin, commit and roll back transactions. Begin and Commit return 0 or -1 (a failed commit has rolled
// back). InTransaction is 0 once the engine has given the transaction up by itself.
int VELUDBBegin(VELUDB *db);
int VELUDBCommit(VELUDB *db);
void VELUDBRollback(VELUDB *db);

// Begins a transaction whose reads all see the same moment. Returns 0 or -1.
int VELUDBBeginOneView(VELUDB *db);

// Begins a transaction that only reads, and sees the database as it is at one moment: it waits for no writer and
// holds none up. Returns 0 or -1.
int VELUDBBeginReading(VELUDB *db);

// Keeps the connection from writing from now on, whatever is sent over it. Returns 0 or -1.
int VELUDBForbidWrites(VELUDB *db);
int VELUDBInTransaction(const VELUDB *db);

// Brings everything that was committed safely to the disk. Returns 0 or -1.
int VELUDBSync(VELUDB *db);

// Returns 1 when the last failure was the database's, so that the same statement may succeed later: it is
// unreachable, locked, slow, full, read-only or damaged, or lacks rights, tables or memory. Returns 0 when it
// was the statement's own (its row's values, a constraint, bad syntax).
int BlVELUDBStoreFailed(const VELUDB *db);

// Returns 1 when it was for want of this process's memory: the database may well answer the next statement.
int BlVELUDBOutOfMemory(const VELUDB *db);

// Returns 0 once the connection has broken: a server behind it may have died, and lost what was committed
// since VELUDBSync.
int BlVELUDBConnected(const VELUDB *db);

// Returns what the connection's engine is called ("sqlite", "postgresql"), for people.
const char *VELUDBEngineName(const VELUDB *db);

// Returns how it spells what the schema needs (platform/db/words.h). Not for a null connection.
const VELUDBWords &VELUDBWordsOf(const VELUDB *db);

// Returns the text of the connection's last failure, valid until its next call; never null.
const char *VELUDBErrorGet(const VELUDB *db);

// Return the number of rows and columns of a result; 0 for null.
int VELUDBRowCount(const VELUDBResult *result);
int VELUDBColumnCount(const VELUDBResult *result);

// Returns the name of a column from 0 on, owned by the result; null when there is no such column.
const char *VELUDBColumnName(const VELUDBResult *result, int column);

// Steps to the next row: *row begins at -1 and is advanced. Returns 0, or -1 behind the last row.
int VELUDBFetchRow(const VELUDBResult *result, int *row);

// Returns the field of a row by column name, owned by the result; null for NULL, an unknown column or row.
const char *VELUDBFetchField(const VELUDBResult *result, int row, const char *column);

// Returns what VELUDBFetchField does, but an empty text instead of null.
const char *VELUDBFetchText(const VELUDBResult *result, int row, const char *column);

// Makes `length` bytes of `in` safe between the single quotes of an SQL literal, on both engines. `out` must
// hold 2 x length + 1 bytes. Returns the length written without the terminator, or -1 for a missing argument.
int VELUDBEscapeString(char *out, const char *in, size_t length);

// Makes text safe inside a LIKE pattern whose escape character is the backslash: backslash, percent sign and
// underscore each get a backslash. Returns the length written, or -1 when an argument is missing or `size`
// bytes cannot hold the result.
int VELUDBEscapeBackslash(char *out, size_t size, const char *in);
