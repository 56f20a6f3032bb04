// SPDX-License-Identifier: GPL-2.0-or-later
//
// Sizes of films by their common names: 4K, 1080p, HD.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Lines of the classes that a name stands for, the first and the last.
struct ResolutionSpan {
    int low;
    int high;
};

// Returns what a name stands for, in small letters or capitals; nothing for what is none.
std::optional<ResolutionSpan> ResolutionOf(std::string_view name);

// Returns these names, and the same for people.
std::vector<std::string> ResolutionWords();
std::string ResolutionNames();

// Returns an SQL expression for the lines of a picture's class; 0: its size is not known. A film is of a class whose width or whose height
// it has: films are cut above and below, or at the sides, and stand upright.
std::string ResolutionSql(const std::string &width, const std::string &height);
