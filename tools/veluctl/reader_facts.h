// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the daemon's readers say of a file under the rule set `complete`.
#pragma once

#include <string>
#include <vector>

#include "catalogue/file_readers.h"
#include "tools/veluctl/record_print.h"

// What a reader said of a file, and what was logged meanwhile.
struct ReaderSaid {
    FileReport report;
    std::vector<std::string> lines;
};

// Hands a file to a reader, whatever the catalogue knows of it. The readers stay until FileReadersEnd.
ReaderSaid ReaderAsk(const std::string &path);

// Returns a part for each library that says something, or one that says why there is nothing.
std::vector<RecordPart> ReaderFactParts(const ReaderSaid &said);
