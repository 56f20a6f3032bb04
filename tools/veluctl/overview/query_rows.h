// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows of one statement, for lists that are not a table's own.
#pragma once

#include <algorithm>
#include <functional>
#include <span>
#include <vector>

#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/exit_code.h"
#include "tools/veluctl/options.h"
#include "tools/veluctl/sql_text.h"

// Returns the words of a table of lists.
template <typename Lists>
std::vector<const char *> ListWords(const Lists &lists) {
    std::vector<const char *> words;
    for (const auto &list : lists)
        words.push_back(list.word);
    return words;
}

// Finds a list by its word, also by the singular ("year"). None: null.
template <typename Lists>
auto ListFind(const Lists &lists, std::string_view word) {
    const auto found = std::ranges::find_if(
        lists, [&](const auto &list) { return word == list.word || std::string(word) + "s" == list.word; });
    return found != std::end(lists) ? &*found : nullptr;
}

// Says that there is no such list, and which there are.
ExitCode ListUnknown(const std::string &word, const std::vector<const char *> &words);

// Calls `take` with each row of a statement over the media catalogue, whose columns have these names. Sums of bytes become whole
// numbers, however an engine writes them. False, with the reason in the reader, on failure.
[[nodiscard]] bool QueryRowsTake(CatalogueReader *reader, const SqlText &query,
                                 std::span<const Column> columns, const std::function<void(Row &)> &take);

// Returns the music rows `m` beside their first fact `f` of a name, of those that have one, as SQL: by the tables of the view `fact`,
// which engines join faster than the view.
std::string SongsWithFact(const char *name);

// Returns the facts `f` of a name and their files `s`, as SQL behind "from", with a condition. A cross join has SQLite go through
// the files in their order, and read each page once; by the index of values it would come to them in any order. Values that are
// equal folded are one.
std::string FactsOfFiles(const std::string &name);

// Adds how many rows are wanted.
void LimitPut(SqlText *query, uint32_t limit);

// Says that a list is empty, unless a program reads it. Returns what the command ends with.
ExitCode ListEnd(size_t rows, const Options &options);
