// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/number_text.h"

#include <math.h>
#include <stdio.h>

#include <algorithm>

#include "tools/veluctl/row_writer.h"

namespace {

constexpr size_t kGroup = 3;
constexpr double kExact = 9e15; // whole numbers are exact in a double up to here

std::string WholeText(double value) {
    return CountText(static_cast<int64_t>(llround(std::clamp(value, -kExact, kExact))));
}

// 3.4, but 12 from ten on.
std::string ShortText(double value) {
    constexpr double kTenths = 9.95; // rounded to tenths this is ten
    if (value >= kTenths)
        return WholeText(value);
    char text[16];
    snprintf(text, sizeof text, "%.1f", value);
    return text;
}

} // namespace

std::string CountText(int64_t count) {
    std::string text = std::to_string(count);
    const size_t sign = count < 0 ? 1 : 0;
    for (size_t at = text.size(); at > sign + kGroup;) {
        at -= kGroup;
        text.insert(at, NARROW_SPACE);
    }
    return text;
}

std::string SizeText(double bytes) {
    char digits[32];
    snprintf(digits, sizeof digits, "%.0f", isfinite(bytes) ? std::clamp(bytes, 0.0, 1e21) : 0.0);
    std::string text = ValueShow(Value(digits), Type::bytes);
    text.replace(text.find(' '), 1, NARROW_SPACE);
    return text;
}

std::string PlayingTimeText(double seconds) {
    constexpr double kMinute = 60;
    constexpr double kHour = 3600;
    if (!(seconds > 0))
        return "0" NARROW_SPACE "min";
    if (seconds < kMinute)
        return std::string("<" NARROW_SPACE "1" NARROW_SPACE "min");
    if (seconds < kHour)
        return WholeText(floor(seconds / kMinute)) + NARROW_SPACE "min";
    return ShortText(seconds / kHour) + NARROW_SPACE "h";
}

std::string ShareText(double part, double whole) {
    const double percent = part > 0 && whole > 0 ? std::min(100 * part / whole, 100.0) : 0;
    // A part above 0 is never shown as 0 %, and one that is not the whole never as 100 %.
    if (percent > 0 && percent < 1)
        return "<" NARROW_SPACE "1" NARROW_SPACE "%";
    const double shown = percent < 100 ? std::min(round(percent), 99.0) : 100;
    return WholeText(shown) + NARROW_SPACE "%";
}

std::string CountedText(int64_t count, const char *one, const char *many) {
    return CountText(count) + " " + (count == 1 ? one : many);
}
