// SPDX-License-Identifier: GPL-2.0-or-later
//
// A result set in memory, filled by the engines: the cells of all rows in one text, each with its
// terminator, so that a long list of paths costs little more than its bytes.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

struct VELUDBResult {
    static constexpr size_t kNull = SIZE_MAX; // the offset of a NULL cell

    std::vector<std::string> columns;
    std::vector<size_t> offsets; // of the cells in `text`, row after row
    std::string text;
};

void ResultAddCell(VELUDBResult *result, const char *bytes, size_t length);
// Adds a real as the same text whichever engine gave it: they spell reals differently.
void ResultAddReal(VELUDBResult *result, double value);
void ResultAddNull(VELUDBResult *result);
