// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/span_text.h"

std::string SpanText(int64_t seconds) {
    struct Unit {
        int64_t seconds;
        const char *name;
    };
    constexpr Unit kUnits[] = {{24 * 60 * 60, "day"}, {60 * 60, "hour"}, {60, "minute"}, {1, "second"}};
    for (const Unit &unit : kUnits) {
        const int64_t count = seconds / unit.seconds;
        if (count > 0)
            return std::to_string(count) + " " + unit.name + (count == 1 ? "" : "s");
    }
    return "a moment";
}
