// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/quiet_interval.h"

#include <syslog.h>

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
    if (const int seconds = ConfigurationSeconds(value); seconds != 0)
        return static_cast<unsigned>(seconds);
    syslog(LOG_ERR, "%s (%d) quiet=\"%s\" is no number from 1 to %d: %u holds.", kLogName, __LINE__, value,
           kSecondsMax, kQuietSeconds);
    return kQuietSeconds;
}
