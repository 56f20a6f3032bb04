// SPDX-License-Identifier: GPL-2.0-or-later
//
// Moments for people: in local time, "2026-10-31 12:30:59".
#pragma once

#include <time.h>

#include <string>

std::string MomentText(time_t moment);

// The same of any form that the catalogues have: "2026-10-31T11:30:59Z" in UTC, "2026-10-31 12:30:59", "2026:10:31 12:30:59",
// "2026-10-31 8:3:9", "Sat Oct 31 12:30:59 2026". What is none stays as it is.
std::string MomentText(const std::string &moment);
