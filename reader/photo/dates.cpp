// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/dates.h"

#include <stdio.h>

#include <algorithm>

#include "platform/letters.h"

namespace {

// Takes a number of at most `digits` digits off the front.
bool TakeNumber(std::string_view *text, size_t digits, int *number) {
    size_t length = 0;
    *number = 0;
    while (length < digits && length < text->size() && IsDigit((*text)[length]))
        *number = *number * 10 + ((*text)[length++] - '0');
    text->remove_prefix(length);
    return length > 0;
}

// Takes one of some characters off the front, and blanks.
void TakeSeparator(std::string_view *text, std::string_view separators) {
    const size_t end = std::min(text->find_first_not_of(separators), text->size());
    text->remove_prefix(end);
}

} // namespace

std::string DateOffset(std::string_view text) {
    constexpr int kHoursMax = 14; // of the world's zones
    TakeSeparator(&text, " ");
    if (text.starts_with('Z'))
        return "+00:00";
    if (!text.starts_with('+') && !text.starts_with('-'))
        return {};
    const char sign = text.front();
    text.remove_prefix(1);
    int hours = 0;
    int minutes = 0;
    if (!TakeNumber(&text, 2, &hours) || hours > kHoursMax)
        return {};
    TakeSeparator(&text, ":");
    TakeNumber(&text, 2, &minutes);
    char offset[16];
    snprintf(offset, sizeof offset, "%c%02d:%02d", sign, hours, std::min(minutes, 59));
    return offset;
}

bool DateRead(std::string_view text, PhotoDate *date) {
    constexpr int kLeapSecond = 60;
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    TakeSeparator(&text, " ");
    if (!TakeNumber(&text, 4, &year) || year == 0)
        return false;
    TakeSeparator(&text, ":-/.");
    TakeNumber(&text, 2, &month);
    TakeSeparator(&text, ":-/.");
    TakeNumber(&text, 2, &day);
    TakeSeparator(&text, " T");
    TakeNumber(&text, 2, &hour);
    TakeSeparator(&text, ":");
    TakeNumber(&text, 2, &minute);
    TakeSeparator(&text, ":");
    TakeNumber(&text, 2, &second);
    if (month > 12 || day > 31 || hour > 23 || minute > 59 || second > kLeapSecond)
        return false;
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        TakeSeparator(&text, "0123456789");
    }
    char time[64];
    snprintf(time, sizeof time, "%04d-%02d-%02d %02d:%02d:%02d", year, std::max(month, 1), std::max(day, 1),
             hour, minute, second);
    *date = {time, DateOffset(text)};
    return true;
}
