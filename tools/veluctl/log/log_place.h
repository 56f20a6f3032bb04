// SPDX-License-Identifier: GPL-2.0-or-later
//
// Lines of the daemon's log begin with the place in the source that they come from.
#pragma once

#include <string_view>

// Returns the line without it: "module.c (12) text", "module.c(12): text" and "module.c:12 text" become "text".
std::string_view LogWithoutPlace(std::string_view line);
