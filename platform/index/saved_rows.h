// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a sweep remembers of the directories that its walk is in: which rows were saved, and which stay all the same. A path
// counts by its hash: of a million rows that are gone, beside a million that were saved, one stays with a chance of one to
// ten millions, until the next sweep.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string_view>
#include <vector>

// Why a path is remembered. The numbers before these are the kinds of rows that were saved.
inline constexpr int kSavedDirectory = 6; // it is a directory
inline constexpr int kSavedTree = 7;      // all at and below it stays

struct SavedRows {
    bool on = false;
    std::vector<uint64_t> keys = {}; // of each directory behind those of the one it lies in
};

// Remembers a path, when a sweep goes on.
void SavedRowAdd(SavedRows *rows, int why, std::string_view path);

// Puts what was added since there were `from` keys in order, for SavedRowHas.
void SavedRowsSort(SavedRows *rows, size_t from);

// True when a path was remembered since then for that reason.
[[nodiscard]] bool SavedRowHas(const SavedRows &rows, size_t from, int why, std::string_view path);
