// SPDX-License-Identifier: GPL-2.0-or-later
//
// The writes of an open batch, kept in one block of bytes until they are committed, so that they can be
// written once more when the database gives the batch up.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "platform/veludb.h"

struct Batch {
    std::string bytes;
    size_t rows = 0;
};

// `request` is the number of the request that asked for the write.
void BatchAdd(Batch *batch, uint64_t request, int statement, const VELUDBValue *values, size_t count);

// Reads the write at *position and steps behind it; false behind the last. The texts stay in the batch.
bool BatchNext(const Batch &batch, size_t *position, uint64_t *request, int *statement,
               std::vector<VELUDBValue> *values);
