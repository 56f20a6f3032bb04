// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables of the two catalogues, made and migrated by whichever program opens them first.
#pragma once

#include <stddef.h>

#include <span>

#include "platform/veludb.h"
#include "platform/veluindex.h"

// Where the version of the tables stands.
inline constexpr char kVersionTable[] = "schema_version";
inline constexpr char kFileVersionTable[] = "file_schema_version"; // of those about files (file_state.h)

// Brings the tables of a fresh or older database up to date. Returns 0, or -1 with one log line, which `tell` false
// leaves out; a database of a newer program fails, untouched. `has_files` receives whether the tables about files are there.
int SchemaApply(VELUDB *db, Catalogue catalogue, bool tell = true, bool *has_files = nullptr);

// The same for the tables about files, which the media catalogue may have beside its others.
int FileSchemaApply(VELUDB *db, bool tell = true);

// Returns whether tables about files that are there are none of a newer program.
bool FileSchemaIsOurs(VELUDB *db);

// One statement on the way to the newest version. PATH, SERIAL and REAL in `sql` are spelled as the engine
// wants them (platform/db/words.h).
struct SchemaStep {
    int version; // that the database has once all steps of this number have run
    Catalogue catalogue;
    bool (*wanted)(const VELUDBWords &engine); // tells the engines that need the step; null: all do
    const char *sql;                           // CLUSTERED too is spelled as the engine wants it
};

// Returns the steps of this program, in the order in which they run. A step that was ever released stays as
// it is: databases of its version exist.
std::span<const SchemaStep> SchemaSteps();
std::span<const SchemaStep> FileSchemaSteps(); // those of the tables about files

// Returns the version of the tables of a database, 0 for a version table without a row, or -1 when there is
// none.
int SchemaVersion(VELUDB *db, const char *version_table = kVersionTable, bool *has_files = nullptr);

// True for a column that holds reals, in whichever table.
bool SchemaColumnIsReal(const char *column);

// Lets the keys that a database counts up go on behind the largest that its rows have. Returns 0 or -1.
int SchemaCountOn(VELUDB *db, const char *table);

// Brings a database up to date with any list of steps. Returns what SchemaApply returns.
int SchemaApplySteps(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps, bool tell = true,
                     const char *version_table = kVersionTable, bool *has_files = nullptr);
