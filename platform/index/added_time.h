// SPDX-License-Identifier: GPL-2.0-or-later
//
// When a file was first catalogued: UTC, as ISO 8601 has it.
#pragma once

#include <time.h>

#include <string>

std::string AddedTimeText(time_t time);

// Returns the earlier of a row's two times, which are local time in either of the forms that rows have
// (docs/catalogue.md); `otherwise` when none can be read.
std::string AddedTimeOf(const std::string &create_time, const std::string &modify_time,
                        const std::string &otherwise);
