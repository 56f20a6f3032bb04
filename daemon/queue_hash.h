// SPDX-License-Identifier: GPL-2.0-or-later
//
// A table from 64-bit hashes to numbers, for what a million requests are to be remembered by: sixteen bytes each at
// some load, and no allocation of its own for any. Two texts of one hash share an entry; users can bear that.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

// FNV-1a, a byte at a time, so that the hash of every beginning of a text is met on the way.
inline constexpr uint64_t kQueueHashStart = 0xcbf29ce484222325;

constexpr uint64_t QueueHashByte(uint64_t hash, char byte) {
    constexpr uint64_t kPrime = 0x100000001b3;
    return (hash ^ static_cast<uint8_t>(byte)) * kPrime;
}

struct QueueHashTable {
    struct Entry {
        uint64_t hash;
        uint64_t value; // 0: the place is free
    };
    std::vector<Entry> entries; // none, or a power of two
    size_t used = 0;
};

// The value of a hash, or 0.
uint64_t QueueHashGet(const QueueHashTable &table, uint64_t hash);

// Sets it; `value` is not 0.
void QueueHashSet(QueueHashTable *table, uint64_t hash, uint64_t value);
