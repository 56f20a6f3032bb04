// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_hash.h"

namespace {

constexpr size_t kFirstSize = 64;

// The entry of a hash, or the free one where it belongs. There is one: the table is never full.
size_t PlaceOf(const std::vector<QueueHashTable::Entry> &entries, uint64_t hash) {
    const size_t mask = entries.size() - 1;
    // The last byte of a text reaches the low bits, but not the high ones.
    size_t place = static_cast<size_t>(hash ^ (hash >> 32)) & mask;
    while (entries[place].value != 0 && entries[place].hash != hash)
        place = (place + 1) & mask;
    return place;
}

void Grow(QueueHashTable *table) {
    std::vector<QueueHashTable::Entry> larger(table->entries.empty() ? kFirstSize
                                                                     : table->entries.size() * 2);
    for (const QueueHashTable::Entry &entry : table->entries)
        if (entry.value != 0)
            larger[PlaceOf(larger, entry.hash)] = entry;
    table->entries = std::move(larger);
}

} // namespace

uint64_t QueueHashGet(const QueueHashTable &table, uint64_t hash) {
    return table.entries.empty() ? 0 : table.entries[PlaceOf(table.entries, hash)].value;
}

void QueueHashSet(QueueHashTable *table, uint64_t hash, uint64_t value) {
    if ((table->used + 1) * 4 > table->entries.size() * 3)
        Grow(table);
    QueueHashTable::Entry &entry = table->entries[PlaceOf(table->entries, hash)];
    if (entry.value == 0)
        ++table->used;
    entry = {hash, value};
}
