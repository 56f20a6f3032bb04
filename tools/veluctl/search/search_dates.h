// SPDX-License-Identifier: GPL-2.0-or-later
//
// Dates as people type them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What a date means that may leave out its end, from its begin up to the next one's.
struct Period {
    std::string begin;
    std::string end;
};

// Takes "2026", "2026-10", ... "2026-10-31 12:30:59", in local time, and the words today, yesterday, and week, month and year for the
// 7, 30 and 365 days up to today. The period is written in the same form, which is the begin of
// every date in it, or as moments in UTC ("2026-10-31T11:30:59Z"). Nothing for what is no date.
std::optional<Period> PeriodOf(std::string_view text, bool in_utc);

// Returns these words.
std::vector<const char *> DayWords();
