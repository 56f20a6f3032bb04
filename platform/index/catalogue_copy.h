// SPDX-License-Identifier: GPL-2.0-or-later
//
// Moving a catalogue from one database to another, of the same or the other engine.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "platform/index/schema.h"

struct TableCopied {
    std::string table;
    int64_t rows;
};

// Copies every row of a catalogue from one URI to another, in one transaction: all of them arrive, or none. The
// database at `from` must be a catalogue, and is read as it is at one moment. The one at `to` may not have any
// tables yet, or all of them without rows. Returns 0, or -1 with a log line; `copied` then holds nothing of use.
int CatalogueCopy(Catalogue catalogue, const char *from, const char *to, std::vector<TableCopied> *copied);
