// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names that are mistyped.
#pragma once

#include <stddef.h>

#include <span>
#include <string>
#include <string_view>

// Returns how many characters of one text have to be added, left out, changed or exchanged with their
// neighbour to make the other of it; the case of ASCII letters does not count.
size_t EditDistance(std::string_view one, std::string_view other);

// Returns which of the names it is, or the one that it is so near to that it was hardly meant to be another; null when there is none.
const char *NearName(std::string_view name, std::span<const char *const> names);

// Returns "; did you mean NAME?" with `front` before the name, where the names are all that there are: the only one that begins so, else
// the nearest, which may be farther off than above. An empty text when there is none.
std::string MeantHint(std::string_view name, std::span<const char *const> names, const char *front = "");
