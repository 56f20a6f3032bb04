// SPDX-License-Identifier: GPL-2.0-or-later
//
// A table from 64-bit hashes of texts to numbers. A million requests are remembered in it, at some 32 bytes each and without
// an allocation for any. Two texts of one hash share an entry, so that whoever uses it must be able to bear that.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

struct QueueHashTable {
    struct Entry {
        uint64_t hash;
        uint64_t value; // 0: the place is free
    };
    std::vector<Entry> entries; // none, or a power of two
    size_t used = 0;
};

// Returns the value of a hash, or 0.
uint64_t QueueHashGet(const QueueHashTable &table, uint64_t hash);

// Sets the value of a hash, which is not 0.
void QueueHashSet(QueueHashTable *table, uint64_t hash, uint64_t value);
