// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/quiet_interval.h"

#include <string.h>
#include <syslog.h>

#include <charconv>

#include "platform/configuration.h"
#include "platform/rule_set.h"

namespace {

constexpr char kLogName[] = "main_loop.c";

// Whole copies of albums end in one run.
constexpr unsigned kQuietSeconds = 10;

} // namespace

unsigned QuietSeconds() {
    if (RuleSetActive() != RuleSet::complete)
        return kQuietSeconds;
    char value[32];
    ConfigurationGet(ConfigurationKeyOf("quiet"), value, sizeof value);
    unsigned seconds = 0;
    const char *end = value + strlen(value);
    const auto [rest, error] = std::from_chars(value, end, seconds);
    if (error == std::errc() && rest == end && seconds >= 1 && seconds <= unsigned{kSecondsMax})
        return seconds;
    syslog(LOG_ERR, "%s (%d) quiet=\"%s\" is no number from 1 to %d: %u holds.", kLogName, __LINE__, value,
           kSecondsMax, kQuietSeconds);
    return kQuietSeconds;
}
