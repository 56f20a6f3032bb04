// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/location.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace {

// "location-eng" and the like as well.
constexpr const char *kPlaces[] = {"com.apple.quicktime.location.ISO6709", "location"};

// Takes a number with its sign off the front; without a sign there is none.
std::optional<double> SignedTake(std::string_view *text) {
    const bool is_number = text->size() > 1 && (text->front() == '+' || text->front() == '-') &&
                           (*text)[1] >= '0' && (*text)[1] <= '9';
    if (!is_number)
        return std::nullopt;
    const char *begin = text->data() + (text->front() == '+' ? 1 : 0);
    double number = 0;
    const auto [end, error] =
        std::from_chars(begin, text->data() + text->size(), number, std::chars_format::fixed);
    if (error != std::errc())
        return std::nullopt;
    text->remove_prefix(static_cast<size_t>(end - text->data()));
    return number;
}

bool LocationAdd(std::string_view text, FactList *facts) {
    const std::optional<double> latitude = SignedTake(&text);
    const std::optional<double> longitude = latitude ? SignedTake(&text) : std::nullopt;
    if (!longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 180)
        return false;
    FactAddNumber(facts, FactName::gps_latitude, FactSource::libavformat, *latitude);
    FactAddNumber(facts, FactName::gps_longitude, FactSource::libavformat, *longitude);
    if (const std::optional<double> altitude = SignedTake(&text))
        FactAddNumber(facts, FactName::gps_altitude, FactSource::libavformat, *altitude);
    return true;
}

} // namespace

void LocationRead(const AVDictionary *tags, FactList *facts) {
    for (const char *place : kPlaces) {
        const AVDictionaryEntry *entry = av_dict_get(tags, place, nullptr, 0);
        if (entry != nullptr && LocationAdd(entry->value, facts))
            return;
    }
}
