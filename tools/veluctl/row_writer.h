// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows for people (an aligned table) and for programs (JSON, CSV), whatever they are rows of.
#pragma once

#include <stddef.h>
#include <stdio.h>

#include <span>
#include <string>
#include <vector>

#include "tools/veluctl/row.h"

enum class Form { table, json, csv };

// Returns a value as people read it: sizes as "3.4 MB", seconds as "4:05", texts safe for a terminal.
std::string ValueShow(const Value &value, Type type);

// Rows one after the other. Columns are as wide as the first rows (kMeasuredRows) need; on a terminal that
// is narrower texts are cut, and the last column at its edge.
class RowWriter {
public:
    RowWriter(Form form, std::span<const Column> columns, FILE *out);
    void Add(const Row &row);
    void End();
    [[nodiscard]] size_t count() const { return count_; }

private:
    void TableFlush();
    // Makes columns of text narrower, down to `least`, until all have room. Returns what they then take.
    size_t TextsNarrow(size_t room, size_t least, size_t used);
    void TableLine(const std::vector<std::string> &cells);
    void JsonAdd(const Row &row);
    void CsvAdd(const Row &row);

    static constexpr size_t kMeasuredRows = 500;

    Form form_;
    std::span<const Column> columns_;
    FILE *out_;
    bool terminal_;
    size_t count_ = 0;
    std::vector<std::vector<std::string>> waiting_; // until the widths are known
    std::vector<size_t> widths_;
};

// Returns a field of CSV (RFC 4180): in quotes, which are doubled inside, where it has to be.
std::string CsvField(std::string_view text);
