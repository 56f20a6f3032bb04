// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/added_time.h"

#include <algorithm>
#include <optional>

namespace {

constexpr const char *kForms[] = {"%Y-%m-%d %H:%M:%S", "%a %b %e %H:%M:%S %Y"};

std::optional<time_t> Read(const std::string &text) {
    for (const char *form : kForms) {
        tm local = {};
        local.tm_isdst = -1; // the text does not say
        const char *end = strptime(text.c_str(), form, &local);
        if (end == nullptr || *end != '\0')
            continue;
        const time_t time = mktime(&local);
        if (time != -1)
            return time;
    }
    return std::nullopt;
}

} // namespace

std::string AddedTimeText(time_t time) {
    tm utc;
    char text[32] = "";
    if (gmtime_r(&time, &utc) != nullptr)
        strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

std::string AddedTimeOf(const std::string &create_time, const std::string &modify_time,
                        const std::string &otherwise) {
    const std::optional<time_t> created = Read(create_time);
    const std::optional<time_t> modified = Read(modify_time);
    if (!created && !modified)
        return otherwise;
    return AddedTimeText(
        std::min(created.value_or(modified.value_or(0)), modified.value_or(created.value_or(0))));
}
