// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_dates.h"

#include <time.h>

#include <array>

#include "platform/letters.h"

namespace {

// A part of a date: what stands in front of it, how many digits it has, and its bounds.
struct Part {
    std::string_view in_front;
    size_t digits;
    int least;
    int most;
};
constexpr std::array<Part, 6> kParts = {{{"", 4, 1000, 9998}, // of which there is a next one, too
                                         {"-", 2, 1, 12},
                                         {"-", 2, 1, 31},
                                         {" T", 2, 0, 23},
                                         {":", 2, 0, 59},
                                         {":", 2, 0, 59}}};

struct Date {
    std::array<int, kParts.size()> parts = {0, 1, 1, 0, 0, 0};
    size_t count = 0; // of those that were written
};

bool PartTake(std::string_view *text, const Part &part, int *value) {
    if (!part.in_front.empty()) {
        if (text->empty() || part.in_front.find(text->front()) == std::string_view::npos)
            return false;
        text->remove_prefix(1);
    }
    if (text->size() < part.digits)
        return false;
    *value = 0;
    for (size_t i = 0; i < part.digits; ++i) {
        if (!IsDigit((*text)[i]))
            return false;
        *value = *value * 10 + ((*text)[i] - '0');
    }
    text->remove_prefix(part.digits);
    return *value >= part.least && *value <= part.most;
}

constexpr int kFirstYear = 1900; // of a calendar

tm CalendarOf(const Date &date) {
    tm calendar = {};
    calendar.tm_year = date.parts[0] - kFirstYear;
    calendar.tm_mon = date.parts[1] - 1;
    calendar.tm_mday = date.parts[2];
    calendar.tm_hour = date.parts[3];
    calendar.tm_min = date.parts[4];
    calendar.tm_sec = date.parts[5];
    calendar.tm_isdst = -1;
    return calendar;
}

Date Next(Date date) {
    ++date.parts[date.count - 1];
    return date;
}

std::string Written(const Date &date, bool in_utc) {
    constexpr size_t kLengths[] = {0, 4, 7, 10, 13, 16, 19}; // by the number of parts
    tm calendar = CalendarOf(date);
    // The calendar is put in order where a next month is the thirteenth.
    const time_t moment = in_utc ? mktime(&calendar) : timegm(&calendar);
    tm whole = {};
    gmtime_r(&moment, &whole);
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &whole);
    if (in_utc)
        return text;
    text[10] = ' ';
    return std::string(text, kLengths[date.count]);
}

// Days before today.
struct DayWord {
    const char *word;
    int first;
    int last;
};
constexpr DayWord kDayWords[] = {
    {"today", 0, 0}, {"yesterday", 1, 1}, {"week", 6, 0}, {"month", 29, 0}, {"year", 364, 0}};

// The calendar is put in order where that is none of the month.
Date DayBeforeToday(int days) {
    constexpr size_t kPartsOfDay = 3;
    const time_t now = time(nullptr);
    tm today = {};
    localtime_r(&now, &today);
    return {{today.tm_year + kFirstYear, today.tm_mon + 1, today.tm_mday - days, 0, 0, 0}, kPartsOfDay};
}

} // namespace

std::optional<Period> PeriodOf(std::string_view text, bool in_utc) {
    for (const DayWord &word : kDayWords)
        if (IsSame(text, word.word))
            return Period{Written(DayBeforeToday(word.first), in_utc),
                          Written(Next(DayBeforeToday(word.last)), in_utc)};
    Date date;
    while (!text.empty()) {
        if (date.count == kParts.size() || !PartTake(&text, kParts[date.count], &date.parts[date.count]))
            return {};
        ++date.count;
    }
    if (date.count == 0)
        return {};
    return Period{Written(date, in_utc), Written(Next(date), in_utc)};
}

std::vector<const char *> DayWords() {
    std::vector<const char *> words;
    for (const DayWord &word : kDayWords)
        words.push_back(word.word);
    return words;
}
