// SPDX-License-Identifier: GPL-2.0-or-later
//
// Counts by month as a calendar: a line for each year, the darker the more.
#pragma once

#include <map>

#include "tools/veluctl/report/html_writer.h"
#include "tools/veluctl/report/month.h"

// Of the newest years so many have a line; the others are summed up.
inline constexpr size_t kGridYearsMax = 40;

// Writes a card with the counts; nothing when there are none.
void MonthGridWrite(HtmlWriter *html, const std::map<Month, int64_t> &counts);
