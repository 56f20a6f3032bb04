// SPDX-License-Identifier: GPL-2.0-or-later
//
// Keys of the configuration that are mistyped.
#pragma once

#include <string_view>

#include "platform/configuration.h"

// Returns the key of the table that has this name, or a name so near to it that the line was hardly meant for
// another program; null when there is none.
const ConfigurationKey *NearKey(std::string_view name);
