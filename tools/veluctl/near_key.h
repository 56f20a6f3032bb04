// SPDX-License-Identifier: GPL-2.0-or-later
//
// Keys that are mistyped.
#pragma once

#include <stddef.h>

#include <string_view>

#include "platform/configuration.h"

// How many characters of one text have to be added, left out, changed or exchanged with their neighbour to make
// the other of it; the case of ASCII letters does not count.
size_t EditDistance(std::string_view one, std::string_view other);

// The key of the table that `name` is, or is so near to that it was hardly meant for another program; null when
// there is none.
const ConfigurationKey *NearKey(std::string_view name);
