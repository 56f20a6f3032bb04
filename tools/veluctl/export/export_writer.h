// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows with all that is known of their files, for programs.
#pragma once

#include <stdio.h>

#include <memory>

#include "tools/veluctl/export/file_details.h"
#include "tools/veluctl/row_writer.h"

class ExportWriter {
public:
    ExportWriter() = default;
    ExportWriter(const ExportWriter &) = delete;
    ExportWriter &operator=(const ExportWriter &) = delete;
    virtual ~ExportWriter() = default;

    // Adds a row of the table's columns; `file` is null where nothing is known beside it.
    virtual void Add(const CatalogueTable &table, const Row &row, const FileDetails *file) = 0;
    virtual void End() {}
};

// An object a line: kind, columns, and by the rules `complete` added, trouble and facts, whose values are a list where a file
// may have several.
std::unique_ptr<ExportWriter> JsonLinesWriter(FILE *out);

// The same in columns: a fact has one unless it has a column already, with several values joined by "; ".
std::unique_ptr<ExportWriter> CsvWriter(const CatalogueTable &table, bool with_facts, FILE *out);
