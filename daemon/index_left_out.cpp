// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/index_left_out.h"

#include <syslog.h>

#include <string>

#include "platform/rule_set.h"

namespace {

constexpr char kLogName[] = "index.c";

// In the order of LeftOut.
constexpr const char *kWords[] = {
    "",
    "hidden",
    "of the system's",
    "marked by .nomedia",
    "named by .veluignore",
    "subtitles",
    "of discs beside their films",
    "of no known kind",
    "no regular files",
    "out of sight",
};
static_assert(std::size(kWords) == std::tuple_size_v<LeftOutCounts>);

LeftOutCounts counted = {};

} // namespace

LeftOutCounts *LeftOutCounted() {
    return RuleSetActive() == RuleSet::complete ? &counted : nullptr;
}

const char *LeftOutWords(LeftOut why) {
    return kWords[static_cast<size_t>(why)];
}

void LeftOutTell() {
    std::string told;
    for (size_t why = 0; why < counted.size(); ++why) {
        if (counted[why] > 0)
            told += (told.empty() ? "" : ", ") + std::to_string(counted[why]) + ' ' + kWords[why];
    }
    counted = {};
    if (!told.empty())
        syslog(LOG_NOTICE, "%s (%d) Not catalogued: %s.", kLogName, __LINE__, told.c_str());
}
