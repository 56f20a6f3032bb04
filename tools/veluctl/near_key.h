// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names that are mistyped.
#pragma once

#include <stddef.h>

#include <span>
#include <string_view>

#include "platform/configuration.h"

// Returns how many characters of one text have to be added, left out, changed or exchanged with their
// neighbour to make the other of it; the case of ASCII letters does not count.
size_t EditDistance(std::string_view one, std::string_view other);

// Returns which of the names it is, or the one that it is so near to that it was hardly meant to be another; null when there is none.
const char *NearName(std::string_view name, std::span<const char *const> names);

// Returns the key of the table that has this name, or a name so near to it that the line was hardly meant for
// another program; null when there is none.
const ConfigurationKey *NearKey(std::string_view name);
