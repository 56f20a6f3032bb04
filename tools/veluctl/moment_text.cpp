// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/moment_text.h"

#include <time.h>

namespace {

struct MomentForm {
    const char *form;
    bool in_utc;
};
constexpr MomentForm kForms[] = {{"%Y-%m-%dT%H:%M:%SZ", true},
                                 {"%Y-%m-%d %H:%M:%S", false},
                                 {"%Y:%m:%d %H:%M:%S", false},
                                 {"%a %b %d %H:%M:%S %Y", false}};

} // namespace

std::string MomentText(const std::string &moment) {
    for (const MomentForm &one : kForms) {
        tm calendar = {};
        const char *end = strptime(moment.c_str(), one.form, &calendar);
        if (end == nullptr || *end != '\0')
            continue;
        if (one.in_utc) {
            const time_t seconds = timegm(&calendar);
            localtime_r(&seconds, &calendar);
        }
        char text[32];
        return std::string(text, strftime(text, sizeof text, "%Y-%m-%d %H:%M", &calendar));
    }
    return moment;
}
