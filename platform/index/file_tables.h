// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables about files: made when a run wants them, and told by which rules the catalogue was written last.
#pragma once

#include "platform/rule_set.h"
#include "platform/veludb.h"

// Makes the media catalogue ready for a run by `rules`. `present` is whether the tables are there, and becomes whether
// they are there and of this program's version. They are made by the rules `complete` alone; after a change to these all
// stamps are forgotten, each row has a state and no other file has one. Returns 0, or -1 with one log line, which `tell`
// false leaves out: also when the tables are a newer program's.
int FileTablesReady(VELUDB *db, RuleSet rules, bool *present, bool tell);

// Forgets all stamps and troubles, gives each row a state, and removes what belongs to no row, all in one transaction.
// Returns 0 or -1.
int FileStatesReconcile(VELUDB *db);
