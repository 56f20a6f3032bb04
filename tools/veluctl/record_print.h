// SPDX-License-Identifier: GPL-2.0-or-later
//
// A thing in all its fields: headed lines of name and value for people, an array of objects for programs.
#pragma once

#include <stdio.h>

#include <string>
#include <vector>

#include "tools/veluctl/row_writer.h"

struct RecordPart {
    std::string name;              // of the table, of the reader
    std::vector<std::string> said; // sentences of a reader
    std::vector<Column> columns;
    Row values; // one for each column
};

void RecordPrint(const std::vector<RecordPart> &parts, bool json, FILE *out);
