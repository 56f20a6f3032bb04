// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a list for people shows of a file: columns of its row, and what is made of several of them and of its facts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/veluctl/export/file_details.h"
#include "tools/veluctl/tables.h"

struct ListedFile {
    const CatalogueTable *table;
    const std::vector<const char *> &names; // of the values in the row
    const Row &row;
    const FileDetails &details; // empty where nothing is known beside the row

    [[nodiscard]] Value Column(std::string_view name) const;
    // The values of a fact, each once, with a comma between them.
    [[nodiscard]] std::string Facts(std::string_view name) const;
};

// Of which files a column needs what is known beside the row.
enum class ListNeeds { nothing, films, all };

struct ListColumn {
    Column shown;
    std::vector<const char *> columns; // of the row, from which it is made
    ListNeeds needs = ListNeeds::nothing;
    bool only_with_facts = false;                    // it says nothing where the catalogue has no facts
    Value (*make)(const ListedFile &file) = nullptr; // null: it is the row's own
};

// Returns the column of that name: a table's own, or one that is made.
ListColumn ListColumnOf(const CatalogueTable &table, std::string_view name);

// The moment of which a file was added, and without facts the time that comes nearest.
inline constexpr char kAddedColumn[] = "added";
inline constexpr char kChangedColumn[] = "changed";

// What a list of several kinds has: "about" says of each what there is to say.
inline constexpr const char *kMixedBrief[] = {"kind", "title", "about", "duration", "path"};
