// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_values.h"

#include <math.h>

#include <charconv>

#include "platform/letters.h"
#include "tools/veluctl/search/resolution.h"
#include "tools/veluctl/search/search_dates.h"

namespace {

constexpr std::string_view kRange = "..";
constexpr std::string_view kYearRange = "-"; // does as well

// What one value means: from `low` on, up to `high`.
struct Span {
    std::string low;
    std::string high;
    bool has_high = true;
};

std::optional<double> NumberOf(std::string_view text) {
    double number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size() || text.empty() || !isfinite(number))
        return {};
    return number;
}

std::string TextOf(double number) {
    char text[400]; // more than the digits of any number
    const auto [end, error] = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed);
    return error == std::errc() ? std::string(text, end) : "0";
}

std::optional<Span> NumberSpan(std::string_view text) {
    const std::optional<double> number = NumberOf(text);
    if (!number)
        return {};
    return Span{TextOf(*number), TextOf(*number)};
}

// A year, or a decade: "1990s", "90s", "199x".
std::optional<Span> YearSpan(std::string_view text) {
    constexpr size_t kYearDigits = 4;
    constexpr int kThisCentury = 2000;
    constexpr int kFirstOfLastCentury = 30; // "30s" and later ones are of that
    constexpr int kCentury = 100;
    constexpr int kDecade = 10;
    if (text.empty() || IsDigit(text.back()))
        return NumberSpan(text);
    const char sign = Lower(text.back());
    const std::string_view digits = text.substr(0, text.size() - 1);
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size() || number < 0)
        return {};
    const bool is_short = digits.size() == kYearDigits - 2;
    if (sign == 'x' && digits.size() == kYearDigits - 1)
        number *= kDecade;
    else if (sign == 's' && is_short)
        number += number < kFirstOfLastCentury ? kThisCentury : kThisCentury - kCentury;
    else if (sign != 's' || digits.size() != kYearDigits)
        return {};
    if (number % kDecade != 0)
        return {};
    return Span{std::to_string(number), std::to_string(number + kDecade - 1)};
}

// "3:25", "1:02:03" or seconds.
std::optional<double> SecondsOf(std::string_view text) {
    constexpr double kBase = 60;
    constexpr int kPartsMax = 3;
    double seconds = 0;
    for (int parts = 0; parts < kPartsMax; ++parts) {
        const size_t colon = text.find(':');
        const std::optional<double> part = NumberOf(text.substr(0, colon));
        if (!part || *part < 0)
            return {};
        seconds = seconds * kBase + *part;
        if (colon == std::string_view::npos)
            return seconds;
        text.remove_prefix(colon + 1);
    }
    return {};
}

// Answers show whole seconds: each stands for what is rounded to it.
std::optional<Span> SecondsSpan(std::string_view text) {
    const std::optional<double> seconds = SecondsOf(text);
    if (!seconds)
        return {};
    constexpr double kRounding = 0.5;
    return Span{TextOf(*seconds - kRounding), TextOf(*seconds + kRounding), false};
}

// "700", "3.4M", "3.4 MB", "700MiB".
std::optional<Span> BytesSpan(std::string_view text) {
    constexpr std::string_view kUnits = "kmgtp";
    constexpr double kStep = 1000;
    constexpr double kBinaryStep = 1024;
    const size_t end = std::min(text.find_first_not_of("0123456789."), text.size());
    std::string_view unit = text.substr(end);
    const std::optional<double> number = NumberOf(text.substr(0, end));
    double factor = 1;
    if (const size_t steps = unit.empty() ? std::string_view::npos : kUnits.find(Lower(unit.front()));
        steps != std::string_view::npos) {
        const bool binary = unit.size() > 1 && Lower(unit[1]) == 'i';
        factor = pow(binary ? kBinaryStep : kStep, static_cast<double>(steps + 1));
        unit.remove_prefix(binary ? 2 : 1);
    }
    if (!number || (!unit.empty() && !IsSame(unit, "b")))
        return {};
    const std::string bytes = TextOf(round(*number * factor));
    return Span{bytes, bytes};
}

std::optional<Span> FlagSpan(std::string_view text) {
    for (const std::string_view yes : {"yes", "1", "true"}) {
        if (IsSame(text, yes))
            return Span{"1", "1"};
    }
    for (const std::string_view no : {"no", "0", "false"}) {
        if (IsSame(text, no))
            return Span{"0", "0"};
    }
    return {};
}

std::optional<Span> LinesSpan(std::string_view text) {
    const std::optional<ResolutionSpan> lines = ResolutionOf(text);
    if (!lines)
        return {};
    return Span{std::to_string(lines->low), std::to_string(lines->high)};
}

std::optional<Span> SpanOf(std::string_view text, FieldKind kind, DateForm form) {
    switch (kind) {
    case FieldKind::year:
        return YearSpan(text);
    case FieldKind::seconds:
        return SecondsSpan(text);
    case FieldKind::bytes:
        return BytesSpan(text);
    case FieldKind::flag:
    case FieldKind::boolean:
        return FlagSpan(text);
    case FieldKind::date:
        if (const std::optional<Period> period = PeriodOf(text, form == DateForm::utc))
            return Span{period->begin, period->end, false};
        return {};
    case FieldKind::resolution:
        return LinesSpan(text);
    case FieldKind::number:
    case FieldKind::text:
    case FieldKind::path:
        break;
    }
    return NumberSpan(text);
}

std::string FormOf(FieldKind kind) {
    switch (kind) {
    case FieldKind::year:
        return "a year is a number, 1990, a range, 1990..1999, or a decade, 1990s or 199x";
    case FieldKind::seconds:
        return "a time is written 3:25, 1:02:03 or in seconds, a range 3:00..4:00";
    case FieldKind::bytes:
        return "a size is written 700, 500kB, 3.4MB or 2GiB, a range 3MB..4MB";
    case FieldKind::flag:
    case FieldKind::boolean:
        return "it is yes or no";
    case FieldKind::date:
        return "a date is written 2026, 2026-10, 2026-10-31 or \"2026-10-31 12:30\"; today, "
               "yesterday, week, month and year are words for days up to now; a range is written "
               "2026-05..2026-10";
    case FieldKind::resolution:
        return "a resolution is one of " + ResolutionNames();
    case FieldKind::number:
    case FieldKind::text:
    case FieldKind::path:
        break;
    }
    return "a number is wanted here, or a range: 1..5";
}

void RangePut(const Span &span, SearchRelation relation, ValueRange *range) {
    switch (relation) {
    case SearchRelation::is:
    case SearchRelation::holds:
        range->low = span.low;
        range->high = span.high;
        range->has_high = span.has_high;
        break;
    case SearchRelation::below:
        range->high = span.low;
        range->has_high = false;
        break;
    case SearchRelation::at_most:
        range->high = span.high;
        range->has_high = span.has_high;
        break;
    case SearchRelation::above:
        range->low = span.high;
        range->has_low = !span.has_high;
        break;
    case SearchRelation::at_least:
        range->low = span.low;
        break;
    }
}

} // namespace

bool ValueRangeRead(const SearchNode &node, FieldKind kind, DateForm form, ValueRange *range,
                    SearchProblem *problem) {
    *range = {};
    const std::string_view value = node.value;
    const auto wrong = [&] { return SearchWrong(problem, FormOf(kind), node.value_place); };
    const bool may_be_range =
        node.relation == SearchRelation::is && kind != FieldKind::flag && kind != FieldKind::boolean;
    std::string_view between = kRange;
    size_t dots = may_be_range ? value.find(between) : std::string_view::npos;
    if (may_be_range && kind == FieldKind::year && dots == std::string_view::npos) {
        between = kYearRange;
        dots = value.find(between, 1); // in front it is a sign
    }
    if (dots == std::string_view::npos) {
        const std::optional<Span> span = SpanOf(value, kind, form);
        if (!span)
            return wrong();
        RangePut(*span, node.relation, range);
        return true;
    }
    // Either end may be open, but not both.
    const std::string_view low = value.substr(0, dots);
    const std::string_view high = value.substr(dots + between.size());
    if (low.empty() && high.empty())
        return wrong();
    if (!low.empty()) {
        const std::optional<Span> span = SpanOf(low, kind, form);
        if (!span)
            return wrong();
        RangePut(*span, SearchRelation::at_least, range);
    }
    if (!high.empty()) {
        const std::optional<Span> span = SpanOf(high, kind, form);
        if (!span)
            return wrong();
        RangePut(*span, SearchRelation::at_most, range);
    }
    return true;
}
