// SPDX-License-Identifier: GPL-2.0-or-later
//
// Months of the calendar, counted one after the other.
#pragma once

#include <time.h>

#include <optional>
#include <string>
#include <string_view>

inline constexpr int kMonthsInYear = 12;

using Month = int; // 12 x year + month from 0 on

constexpr Month MonthOf(int year, int month_from_1) {
    return year * kMonthsInYear + month_from_1 - 1;
}
constexpr int YearOf(Month month) {
    return month / kMonthsInYear;
}

// Returns the month at the front of "2009-03-07 ..." or "2009-3-7 ...".
std::optional<Month> MonthParse(std::string_view text);

// Returns the local month of a time.
Month MonthNow(time_t now);

// Returns the name of a month (from 0 on) in three letters.
const char *MonthName(int month_from_0);

std::string MonthText(Month month); // Mar 2009
