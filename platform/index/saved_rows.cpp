// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/saved_rows.h"

#include <algorithm>

#include "platform/hash.h"

namespace {

uint64_t KeyOf(int why, std::string_view path) {
    return HashText(path, HashByte(kHashStart, static_cast<char>(why)));
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
