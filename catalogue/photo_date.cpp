// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/photo_date.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <chrono>

#include "platform/index/file_state.h"
#include "platform/letters.h"
#include "platform/path.h"

namespace {

// The first photograph is of 1826. Eight digits in a row may be any number: there the first year is that of digital cameras.
constexpr int kFirstYear = 1826, kFirstYearInARow = 1990, kLastYear = 2099;

// Digits of a second's fraction, which some phones write behind the time without a mark.
constexpr size_t kFraction = 3;

struct Moment {
    int year = 0, month = 0, day = 0;
    int hour = 0, minute = 0, second = 0;
};

size_t DigitsAhead(std::string_view text) {
    return static_cast<size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin());
}

bool NumberTake(std::string_view *text, size_t digits, int *number) {
    if (DigitsAhead(*text) < digits)
        return false;
    *number = 0;
    for (const char digit : text->substr(0, digits))
        *number = *number * 10 + (digit - '0');
    text->remove_prefix(digits);
    return true;
}

// Takes a separator, which is `between`; 0: none.
bool SeparatorTake(std::string_view *text, char between) {
    if (between == 0)
        return true;
    if (!text->starts_with(between))
        return false;
    text->remove_prefix(1);
    return true;
}

// The separator that a text begins with; 0: none of those.
char SeparatorOf(std::string_view text, std::string_view separators) {
    return !text.empty() && separators.find(text.front()) != std::string_view::npos ? text.front() : '\0';
}

bool DayTake(std::string_view *text, Moment *moment) {
    if (!NumberTake(text, 4, &moment->year))
        return false;
    const char between = SeparatorOf(*text, "-_.");
    if (!SeparatorTake(text, between) || !NumberTake(text, 2, &moment->month) ||
        !SeparatorTake(text, between) || !NumberTake(text, 2, &moment->day))
        return false;
    const std::chrono::year_month_day day(std::chrono::year(moment->year),
                                          std::chrono::month(static_cast<unsigned>(moment->month)),
                                          std::chrono::day(static_cast<unsigned>(moment->day)));
    return day.ok() && moment->year >= (between == 0 ? kFirstYearInARow : kFirstYear) &&
           moment->year <= kLastYear;
}

// Clocks of twelve hours, as desktops in America write them.
bool HalfOfDayTake(std::string_view text, Moment *moment) {
    constexpr std::string_view kBlanks = " \u202f"; // the bytes of a narrow one, too
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (text.size() < 2 || (text[1] != 'M' && text[1] != 'm') || (text.size() > 2 && text[2] != ' '))
        return true;
    const bool after_noon = text[0] == 'P' || text[0] == 'p';
    if (!after_noon && text[0] != 'A' && text[0] != 'a')
        return true;
    if (moment->hour == 0 || moment->hour > 12)
        return false;
    moment->hour = moment->hour % 12 + (after_noon ? 12 : 0);
    return true;
}

bool TimeTake(std::string_view text, Moment *moment) {
    text.remove_prefix(std::min(text.find_first_not_of(" _-.T"), text.size()));
    if (text.starts_with("at "))
        text.remove_prefix(3);
    const size_t digits = DigitsAhead(text) == 1 ? 1 : 2; // clocks of twelve hours write no zero in front
    if (!NumberTake(&text, digits, &moment->hour))
        return false;
    const char between = SeparatorOf(text, ".-_:");
    if ((digits == 1 && between == 0) || !SeparatorTake(&text, between) ||
        !NumberTake(&text, 2, &moment->minute) || !SeparatorTake(&text, between) ||
        !NumberTake(&text, 2, &moment->second))
        return false;
    const size_t more = DigitsAhead(text);
    return (more == 0 || more == kFraction) && HalfOfDayTake(text, moment) && moment->hour < 24 &&
           moment->minute < 60 && moment->second < 60;
}

// Reads a moment that the text begins with.
bool MomentRead(std::string_view text, Moment *moment) {
    const size_t in_a_row = DigitsAhead(text);
    if (!DayTake(&text, moment))
        return false;
    Moment with_time = *moment;
    if (TimeTake(text, &with_time)) {
        *moment = with_time;
        return true;
    }
    // Behind a day alone no digit may follow, with which it would be another number.
    return DigitsAhead(text) == 0 && (in_a_row == 4 || in_a_row == 8);
}

std::string TextOf(const Moment &moment) {
    char text[64];
    snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", moment.year, moment.month, moment.day,
             moment.hour, moment.minute, moment.second);
    return text;
}

} // namespace

std::string DateOfName(std::string_view name) {
    const std::string_view stem = NameWithoutExtension(name);
    for (size_t i = 0; i < stem.size(); ++i) {
        Moment moment;
        if (IsDigit(stem[i]) && (i == 0 || !IsDigit(stem[i - 1])) && MomentRead(stem.substr(i), &moment))
            return TextOf(moment);
    }
    return {};
}

std::vector<std::string> PhotoDateFill(time_t written, MediaInfo *record) {
    if (record->date_taken[0] != '\0')
        return {};
    const std::string named = DateOfName(record->path);
    static_assert(sizeof record->date_taken > sizeof "YYYY-MM-DD HH:MM:SS");
    if (!named.empty()) {
        memcpy(record->date_taken, named.c_str(), named.size() + 1);
        return {"name"};
    }
    if (!VELUIndexTimeText(written, record->date_taken, sizeof record->date_taken))
        return {};
    return {"file"};
}
