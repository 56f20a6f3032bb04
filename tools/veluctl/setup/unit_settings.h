// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a unit's settings do to a folder.
#pragma once

#include <map>
#include <string>

// Settings as `systemctl show` prints them.
using UnitSettings = std::map<std::string, std::string>;

// Returns which setting hides a folder from the service, or keeps it from writing there; empty: none does.
std::string UnitHides(const UnitSettings &unit, const std::string &folder);
std::string UnitForbids(const UnitSettings &unit, const std::string &folder);
