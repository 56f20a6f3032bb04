// SPDX-License-Identifier: GPL-2.0-or-later
//
// The folded texts of the tables about files, and by which folding they are.
#pragma once

#include "platform/veludb.h"

// Folds all again when a program with an older folding has been at work: some files to a transaction, and where it stopped it
// goes on. Of texts of a newer one it is noted that there will be some of this program's. Returns 0 or -1.
int FilesFoldAgain(VELUDB *db);
