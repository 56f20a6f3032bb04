// SPDX-License-Identifier: GPL-2.0-or-later
//
// One connection to an SQLite file, shared by the files of the SQLite engine.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/handle.h"

using SqliteHandle = std::unique_ptr<sqlite3, CloseWith<sqlite3_close_v2>>;
using SqliteStatement = std::unique_ptr<sqlite3_stmt, CloseWith<sqlite3_finalize>>;

struct SqliteConnection {
    SqliteHandle db;
    std::vector<SqliteStatement> statements; // before `db` in destruction: they belong to it
    std::string error;
    int code = SQLITE_OK; // of the last failure
};

// How long a call waits for another program's lock before it fails. Readers never block the daemon in WAL
// mode; what may is a program that changes album rows (moments) or compacts the file (seconds for a large
// library). Longer would hold up a whole run for one stuck program. A variable for the tests, which cannot
// wait so long.
extern int sqlite_busy_milliseconds;

// Opens the database of a `sqlite:PATH` URI; null, with the reason in `error`, on failure.
void *SqliteOpen(const char *uri, std::string *error);

// Returns the bytes of a value that a function gets; none for NULL.
inline std::string_view SqliteTextOf(sqlite3_value *value) {
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(value));
    return text == nullptr ? std::string_view()
                           : std::string_view(text, static_cast<size_t>(sqlite3_value_bytes(value)));
}

// The code of a call that has failed, and the words for it. A disk that is full to its last byte is told as such: SQLite does so
// only when a database itself cannot grow, and not when what it makes beside one cannot.
struct SqliteFailure {
    int code;
    const char *words;
};
SqliteFailure SqliteFailureOf(sqlite3 *db, int code);

// Gives a connection a LIKE that compares bytes, minds case and takes the backslash as its escape, as
// PostgreSQL's does in a database of plain bytes. Returns an SQLite result code.
int SqliteLikeInstall(sqlite3 *db);

// Gives a connection functions that compare folded text (folding.h): velu_holds and velu_is. Returns an SQLite
// result code.
int SqliteFoldingInstall(sqlite3 *db);

// Returns `sql` with each plain `COLUMN like 'PREFIX%'` condition narrowed by the range of that prefix, which
// an index serves: SQLite looks a prefix pattern up in an index only for its own LIKE.
std::string SqliteLikeNarrowed(const char *sql);
