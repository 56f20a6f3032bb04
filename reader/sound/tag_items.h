// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a tag says, whatever its format: keys with values as text. The reader of a format makes these, the format's table
// (tag_tables.cpp) says which fact each key is, and the forms of values are the same for all of them.
#pragma once

#include <string>
#include <vector>

#include "reader/protocol/fact_list.h"
#include "reader/sound/tag_row.h"

struct TagItem {
    std::string key; // upper and lower case are the same
    std::string value;
};

// Several values of a key are several items, in the order of the file.
using TagItems = std::vector<TagItem>;

struct TagTable {
    const TagRow *rows;
    size_t count;
};

// Adds the facts that items give by a table, where no tag that was read before has given them.
void FactsFromItems(const TagItems &items, TagTable table, FactSource source, FactList *facts);

// Adds an item for each part of a text that a NUL ends.
void ItemsAddSplit(TagItems *items, std::string_view key, std::string_view values);
