// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/saved_rows.h"

#include <algorithm>

namespace {

// FNV-1a.
uint64_t KeyOf(int why, std::string_view path) {
    constexpr uint64_t kStart = 0xcbf29ce484222325;
    constexpr uint64_t kPrime = 0x100000001b3;
    uint64_t key = (kStart ^ static_cast<uint8_t>(why)) * kPrime;
    for (const char byte : path)
        key = (key ^ static_cast<uint8_t>(byte)) * kPrime;
    return key;
}

} // namespace

void SavedRowAdd(SavedRows *rows, int why, std::string_view path) {
    if (rows->on)
        rows->keys.push_back(KeyOf(why, path));
}

void SavedRowsSort(SavedRows *rows, size_t from) {
    std::sort(rows->keys.begin() + static_cast<ptrdiff_t>(from), rows->keys.end());
}

bool SavedRowHas(const SavedRows &rows, size_t from, int why, std::string_view path) {
    return std::binary_search(rows.keys.begin() + static_cast<ptrdiff_t>(from), rows.keys.end(),
                              KeyOf(why, path));
}
