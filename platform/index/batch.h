// SPDX-License-Identifier: GPL-2.0-or-later
//
// The writes of an open batch, kept in one block of bytes until they are committed, so that they can be
// written once more when the database gives the batch up.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>
#include <string>
#include <vector>

#include "platform/veludb.h"

// A statement with its values, which belong to the caller.
struct StoreWrite {
    int statement;
    const VELUDBValue *values;
    size_t count;
};

struct Batch {
    std::string bytes;
    size_t rows = 0; // and units
    // Files whose covers stand in no row but those of the batch: where one is not stored, its cover belongs to nobody.
    std::vector<std::string> first_covers = {};
};

// Where an open batch can be rolled back to, for an engine that takes nothing more after a statement that failed. Without
// failures no marks are set. After one they come behind 4, 8, 16 ... writes, so that a failure costs what is behind the last
// mark to be written again, and all failures together some times the rows that are good.
struct BatchMark {
    bool set = false; // else the batch's begin
    size_t bytes = 0; // of the batch, in front of the mark
    size_t rows = 0;
    size_t next = SIZE_MAX; // writes until another is due
};

// `request` is the number of the request that asked for the write.
void BatchAdd(Batch *batch, uint64_t request, int statement, const VELUDBValue *values, size_t count);

// The same for writes that stand or fall together.
void BatchAddUnit(Batch *batch, uint64_t request, std::span<const StoreWrite> writes);

// Reads the write at *position and steps behind it; false behind the last. The texts stay in the batch. `more` receives
// whether the next write belongs to the same unit.
bool BatchNext(const Batch &batch, size_t *position, uint64_t *request, int *statement,
               std::vector<VELUDBValue> *values, bool *more = nullptr);
