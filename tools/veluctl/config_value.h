// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether a value is what its key's reader can use.
#pragma once

#include <string>

#include "platform/configuration.h"

// What is wrong with the value, without a password of it; empty: nothing. Looks at the disk, never at a server.
std::string ConfigurationProblem(const ConfigurationKey &key, const std::string &value);
