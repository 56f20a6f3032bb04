// SPDX-License-Identifier: GPL-2.0-or-later
//
// The iTunes item list, moov.udta.meta.ilst: one box for each tag, in it a `data` box with a type code, a
// locale and the value. Only the first box of each kind on this way counts; tags anywhere else are none.
#pragma once

#include <stdint.h>

#include <array>

#include "compat/mp4v2/box_walk.h"

enum class Item : uint8_t {
    kName,
    kArtist,
    kAlbum,
    kComment,
    kWriter,
    kYear,
    kGenre,
    kGenreNumber,
    kTrack,
    kDisk,
    kCover
};

inline constexpr size_t kItemCount = static_cast<size_t>(Item::kCover) + 1;

struct ItemList {
    std::array<Box, kItemCount> items;
};

void ItemListRead(BoxFile *file, const Box &movie, ItemList *list);

inline const Box &ItemOf(const ItemList &list, Item item) {
    return list.items[static_cast<size_t>(item)];
}

struct ItemValue {
    uint32_t type_code;
    uint64_t start; // of the value
    uint64_t size;
};

// Finds the index-th value of an item. False when there is none or it is too short for its head.
[[nodiscard]] bool ItemValueFind(BoxFile *file, const Box &item, uint32_t index, ItemValue *value);
