// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"

#include <syslog.h>

namespace {

const char *TextOf(const char *argument) {
    return argument != nullptr ? argument : "";
}

const char *GapBefore(const char *argument) {
    return *TextOf(argument) != '\0' ? " " : "";
}

} // namespace

void VELULogSet1(int log_class, int level, uint32_t event, const char *arg1, const char *arg2,
                 const char *arg3, const char *arg4) {
    syslog(LOG_NOTICE, "event 0x%08X (class %d, level %d)%s%s%s%s%s%s%s%s", static_cast<unsigned>(event),
           log_class, level, GapBefore(arg1), TextOf(arg1), GapBefore(arg2), TextOf(arg2), GapBefore(arg3),
           TextOf(arg3), GapBefore(arg4), TextOf(arg4));
}
