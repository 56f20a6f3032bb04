// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/tag_values.h"

#include <strings.h>

#include <charconv>
#include <optional>
#include <string>

#include "platform/letters.h"
#include "reader/sound/genres.h"

namespace {

// What ReplayGain has above R 128's level of loudness, in dB.
constexpr double kReplayGainAboveR128 = 5.0;

std::string_view BlanksDropped(std::string_view text) {
    while (!text.empty() && static_cast<uint8_t>(text.front()) <= ' ')
        text.remove_prefix(1);
    return text;
}

// Takes a number off the front; blanks before it and a plus sign do not count. No locale has a say.
std::optional<double> NumberTake(std::string_view *text) {
    std::string_view rest = BlanksDropped(*text);
    if (rest.starts_with('+'))
        rest.remove_prefix(1);
    double number = 0;
    const auto [end, error] =
        std::from_chars(rest.data(), rest.data() + rest.size(), number, std::chars_format::fixed);
    if (error != std::errc())
        return std::nullopt;
    rest.remove_prefix(static_cast<size_t>(end - rest.data()));
    *text = rest;
    return number;
}

// Takes the digits at the front, blanks before them included.
std::optional<double> DigitsTake(std::string_view *text) {
    const std::string_view rest = BlanksDropped(*text);
    return !rest.empty() && IsDigit(rest.front()) ? NumberTake(text) : std::nullopt;
}

bool PairAdd(FactName name, std::string_view value, FactSource source, FactList *facts) {
    const FactName total = name == FactName::disc ? FactName::disctotal : FactName::tracktotal;
    const std::optional<double> number = DigitsTake(&value);
    bool added = number.value_or(0) > 0 && FactAddNumber(facts, name, source, *number);
    const size_t slash = value.find('/');
    if (slash == std::string_view::npos)
        return added;
    value.remove_prefix(slash + 1);
    const std::optional<double> of = DigitsTake(&value);
    return (of.value_or(0) > 0 && FactAddNumber(facts, total, source, *of)) || added;
}

// The first four digits that stand together: "2004-05-06", "6.5.2004".
std::optional<double> YearOf(std::string_view date) {
    size_t run = 0;
    for (size_t i = 0; i < date.size(); ++i) {
        run = IsDigit(date[i]) ? run + 1 : 0;
        if (run < 4)
            continue;
        std::string_view year = date.substr(i - 3, 4);
        return DigitsTake(&year);
    }
    return std::nullopt;
}

bool DateAdd(FactName name, std::string_view value, FactSource source, FactList *facts) {
    if (!FactAddText(facts, name, source, value))
        return false;
    const std::optional<double> year = name == FactName::date ? YearOf(value) : std::nullopt;
    if (year.value_or(0) > 0)
        FactAddNumber(facts, FactName::year, source, *year);
    return true;
}

bool FlagAdd(FactName name, std::string_view value, FactSource source, FactList *facts) {
    const std::string text(BlanksDropped(value));
    const bool set = DigitsTake(&value).value_or(0) > 0 || strcasecmp(text.c_str(), "true") == 0 ||
                     strcasecmp(text.c_str(), "yes") == 0;
    return set && FactAddNumber(facts, name, source, 1);
}

bool GenresAdd(const std::vector<std::string> &genres, FactName name, FactSource source, FactList *facts) {
    bool added = false;
    for (const std::string &genre : genres)
        added = FactAddText(facts, name, source, genre) || added;
    return added;
}

} // namespace

bool FactsFromValue(const TagRow &row, std::string_view value, FactSource source, FactList *facts) {
    std::string_view rest = value;
    switch (row.form) {
    case ValueForm::text:
        break;
    case ValueForm::pair:
        return PairAdd(row.fact, value, source, facts);
    case ValueForm::flag:
        return FlagAdd(row.fact, value, source, facts);
    case ValueForm::date:
        return DateAdd(row.fact, value, source, facts);
    case ValueForm::genre:
        return GenresAdd(GenresOf(value), row.fact, source, facts);
    case ValueForm::genre_id3:
        return GenresAdd(GenresOfId3(value), row.fact, source, facts);
    case ValueForm::number:
    case ValueForm::whole: {
        const std::optional<double> number = NumberTake(&rest);
        return number.value_or(0) > 0 && FactAddNumber(facts, row.fact, source, *number);
    }
    case ValueForm::gain: {
        const std::optional<double> gain = NumberTake(&rest);
        return gain.has_value() && FactAddNumber(facts, row.fact, source, *gain);
    }
    case ValueForm::gain_r128: {
        const std::optional<double> gain = NumberTake(&rest);
        return gain.has_value() && FactAddNumber(facts, row.fact, source, *gain / 256 + kReplayGainAboveR128);
    }
    }
    return FactAddText(facts, row.fact, source, value);
}
