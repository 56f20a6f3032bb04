// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is searched.
#pragma once

#include <string>

#include "platform/db/words.h"
#include "tools/veluctl/tables.h"

// A table, and what its catalogue can do.
struct SearchTarget {
    const CatalogueTable *table;
    const VELUDBWords *words;
    bool facts;                // it has what is known of files
    bool complete;             // or will have: the rules are `complete`
    bool state_joined = false; // the statement has the files' states beside the rows
};

// Returns the name of a column with that of its table in front: other tables of a statement may have the same.
inline std::string QualifiedName(const CatalogueTable &table, const char *column) {
    return std::string(table.table) + "." + column;
}
