// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/month.h"

#include <charconv>

const char *MonthName(int month_from_0) {
    static constexpr const char *kNames[kMonthsInYear] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return kNames[month_from_0];
}

std::optional<Month> MonthParse(std::string_view text) {
    constexpr ptrdiff_t kYearDigits = 4;
    constexpr ptrdiff_t kMonthDigitsMax = 2;
    const char *end = text.data() + text.size();
    unsigned year = 0;
    unsigned month = 0;
    const auto [year_end, year_error] = std::from_chars(text.data(), end, year);
    if (year_error != std::errc() || year_end - text.data() != kYearDigits || year_end == end ||
        *year_end != '-')
        return {};
    const auto [month_end, month_error] = std::from_chars(year_end + 1, end, month);
    if (month_error != std::errc() || month_end - year_end - 1 > kMonthDigitsMax || month < 1 ||
        month > kMonthsInYear || (month_end != end && *month_end != '-'))
        return {};
    return MonthOf(static_cast<int>(year), static_cast<int>(month));
}

Month MonthNow(time_t now) {
    constexpr int kFirstYear = 1900;
    struct tm local = {};
    localtime_r(&now, &local);
    return MonthOf(local.tm_year + kFirstYear, local.tm_mon + 1);
}

std::string MonthText(Month month) {
    return std::string(MonthName(month % kMonthsInYear)) + " " + std::to_string(YearOf(month));
}
