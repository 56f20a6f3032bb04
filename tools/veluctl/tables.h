// SPDX-License-Identifier: GPL-2.0-or-later
//
// The catalogue's tables as veluctl shows them.
#pragma once

#include <span>
#include <string_view>

#include "platform/veluindex.h"
#include "tools/veluctl/row_writer.h"

struct CatalogueTable {
    const char *kind; // as people name it
    const char *table;
    Catalogue catalogue;
    const char *key;                    // unique and in order
    bool is_media;                      // one of the four tables that share their columns
    bool keeps_paths;                   // the key is the path of a file or directory
    std::span<const Column> columns;    // all of them
    std::span<const char *const> brief; // those of a list for people (listed_file.h); the last is the longest
    std::span<const char *const> texts; // those that are searched for a text
};

std::span<const CatalogueTable> CatalogueTables();

// Returns the column of that name, or null.
const Column *ColumnFind(const CatalogueTable &table, std::string_view name);

// Returns the column of that name, which the table must have.
const Column &ColumnOf(const CatalogueTable &table, std::string_view name);
