// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/rule_set.h"

#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <iterator>

#include "platform/configuration.h"

namespace {

constexpr char kLogName[] = "rule_set.c";

constexpr size_t kWrittenSize = 64; // of what is quoted when it is no rule set

constexpr RuleSet kRuleSets[] = {RuleSet::appliance, RuleSet::complete};

RuleSet active = RuleSet::appliance;

// False for a value that is no rule set.
bool Configured(char (&written)[kWrittenSize], RuleSet *rules) {
    ConfigurationGet(ConfigurationKeyOf("rules"), written, sizeof written);
    const RuleSet *found = std::find_if(std::begin(kRuleSets), std::end(kRuleSets), [&](RuleSet known) {
        return strcmp(RuleSetWord(known), written) == 0;
    });
    const bool known = found != std::end(kRuleSets);
    *rules = known ? *found : RuleSet::appliance;
    return known;
}

} // namespace

void RuleSetRead() {
    char written[kWrittenSize];
    if (!Configured(written, &active))
        syslog(LOG_ERR, "%s (%d) rules=\"%s\" is neither %s nor %s: %s holds.", kLogName, __LINE__, written,
               RuleSetWord(RuleSet::appliance), RuleSetWord(RuleSet::complete),
               RuleSetWord(RuleSet::appliance));
}

void RuleSetFollow() {
    active = RuleSetConfigured();
}

RuleSet RuleSetConfigured() {
    char written[kWrittenSize];
    RuleSet rules;
    Configured(written, &rules);
    return rules;
}

RuleSet RuleSetActive() {
    return active;
}

const char *RuleSetWord(RuleSet rules) {
    return rules == RuleSet::complete ? "complete" : "appliance";
}
