// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading what a table has of the files right in a directory, through the index of their paths.
#pragma once

#include <functional>
#include <string_view>

#include "platform/index/statements.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"

// What is told of a file: its name, and its row among others. They hold until the call ends.
using DirectoryRowTake = std::function<void(std::string_view name, const VELUDBResult *rows, int row)>;

// Reads, in the bytewise order of their names, the rows of the files in a directory, not of those further below; slashes at its end
// do not count. The operation takes the begin and the end of a range and how many rows, and gives the column path and others.
// To be called in a run. Returns 0 or -1, with some of them.
int DirectoryRowsRead(Catalogue catalogue, StoreOperation operation, const char *directory,
                      const DirectoryRowTake &take);
