// SPDX-License-Identifier: GPL-2.0-or-later
//
// The steps that lead a database from one version of its tables to the next.
#pragma once

#include <span>

#include "platform/index/schema.h"

// PATH, SERIAL and REAL in `sql` are spelled as the engine wants them (schema.cpp).
struct SchemaStep {
    int version; // that the database has once all steps of this number have run
    Catalogue catalogue;
    const char *engine; // the only one that needs the step, or null
    const char *sql;
};

// Those of this program, in the order in which they run. A step that was ever released stays as it is: databases
// of its version exist.
std::span<const SchemaStep> SchemaSteps();

// Brings a database up to date with any list of steps. Returns what SchemaApply returns.
int SchemaApplySteps(VELUDB *db, Catalogue catalogue, std::span<const SchemaStep> steps);
