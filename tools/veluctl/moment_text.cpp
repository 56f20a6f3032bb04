// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/moment_text.h"

namespace {

struct MomentForm {
    const char *form;
    bool in_utc;
};
constexpr MomentForm kForms[] = {{"%Y-%m-%dT%H:%M:%SZ", true},
                                 {"%Y-%m-%d %H:%M:%S", false},
                                 {"%Y:%m:%d %H:%M:%S", false},
                                 {"%a %b %d %H:%M:%S %Y", false}};

std::string Written(const tm &calendar) {
    char text[32];
    return std::string(text, strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &calendar));
}

} // namespace

std::string MomentText(time_t moment) {
    tm calendar = {};
    return localtime_r(&moment, &calendar) != nullptr ? Written(calendar) : std::string();
}

std::string MomentText(const std::string &moment) {
    for (const MomentForm &one : kForms) {
        tm calendar = {};
        const char *end = strptime(moment.c_str(), one.form, &calendar);
        if (end != nullptr && *end == '\0')
            return one.in_utc ? MomentText(timegm(&calendar)) : Written(calendar);
    }
    return moment;
}
