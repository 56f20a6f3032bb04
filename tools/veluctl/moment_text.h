// SPDX-License-Identifier: GPL-2.0-or-later
//
// Moments for people.
#pragma once

#include <string>

// Returns a moment in local time and to the minute, "2026-10-31 12:30", of any form that the catalogues have: "2026-10-31T11:30:59Z" in
// UTC, "2026-10-31 12:30:59", "2026:10:31 12:30:59", "2026-10-31 8:3:9", "Sat Oct 31 12:30:59 2026". What is none stays as it is.
std::string MomentText(const std::string &moment);
