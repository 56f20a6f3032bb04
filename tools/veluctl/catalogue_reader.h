// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading the catalogues: connections, and rows in portions, so that a catalogue of any size needs the same
// memory.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/veluctl/exit_code.h"
#include "tools/veluctl/tables.h"

struct CatalogueConnection {
    DatabaseHandle database;
    std::map<std::string, int> prepared; // statements live as long as the connection: each is prepared once
};

// The two connections, made when they are first needed.
struct CatalogueReader {
    CatalogueConnection connections[kCatalogues];
    std::string failure; // of the last call that failed, for people
    // The same for who shows the commands beside it that make a new catalogue of a damaged one.
    std::string reason = {};
    std::vector<std::string> commands = {};
};

// Connects to a catalogue, or returns the connection that stands. Null, with the reason in the reader, when
// the catalogue cannot be reached.
VELUDB *CatalogueConnect(CatalogueReader *reader, Catalogue catalogue);

// Notes why a catalogue cannot be read, with what can be done about it.
void CatalogueFailureSet(CatalogueReader *reader, Catalogue catalogue, const std::string &reason);

// Says why a catalogue cannot be read, with the commands that make a new one of a damaged one. Returns kUnreachable.
ExitCode FailureTell(const CatalogueReader &reader);

// Forgets a connection that has failed; the next call makes a new one.
void CatalogueDisconnect(CatalogueReader *reader, Catalogue catalogue);

// Runs one query. Null, with the reason in the reader, on failure.
ResultHandle CatalogueQuery(CatalogueReader *reader, Catalogue catalogue, const std::string &sql,
                            const std::vector<std::string> &values);

// Returns a field of a row, or nothing for NULL.
Value ValueTake(const ResultHandle &rows, int row, const char *column);

// What rows are wanted: all, or those of a path and below it, of one key.
struct RowFilter {
    std::string directory;
    std::string key;
    size_t limit = SIZE_MAX;
};

// Calls `take` with the values of `columns` (names of the table's) for every row, in the order of the keys.
// False, with the reason in the reader, on failure.
[[nodiscard]] bool CatalogueRowsRead(CatalogueReader *reader, const CatalogueTable &table,
                                     const std::vector<const char *> &columns, const RowFilter &filter,
                                     const std::function<void(Row &)> &take);

// Returns the number of rows of a table, or -1 with the reason in the reader.
int64_t CatalogueCount(CatalogueReader *reader, const CatalogueTable &table);
