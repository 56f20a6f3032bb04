// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether a value is what its key's reader can use.
#pragma once

#include <string>

#include "platform/configuration.h"

// Returns what is wrong with the value, never with a password in it; empty when nothing is. Looks at the
// disk, never at a server.
std::string ConfigurationProblem(const ConfigurationKey &key, const std::string &value);
