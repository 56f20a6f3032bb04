// SPDX-License-Identifier: GPL-2.0-or-later
//
// How far a run is, in words, by what the daemon says of it.
#pragma once

#include <string>

#include "daemon/index_record.h"

// Returns "1234 of 5678 files, 31/s, 2 minutes left". Where not all files are counted yet, there are "at least" so many; what is
// done without a wait is not counted ahead, and then there is nothing but the number of files that had their turn.
std::string RunFilesText(const IndexRecord &record);

// Returns what came of it: "3 new, 1 changed, 0 gone, 9 unchanged, 0 in trouble, 2 left out", with the command that lists what is in
// trouble.
std::string RunCountsText(const IndexRecord &record);
