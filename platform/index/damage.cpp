// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/damage.h"

#include <syslog.h>

#include "platform/index/schema.h"
#include "platform/rule_set.h"
#include "platform/veludb.h"

namespace {

constexpr char kLogName[] = "store.c";

} // namespace

void DamageTell(Catalogue catalogue, std::string_view reason) {
    if (RuleSetActive() == RuleSet::complete && VELUDBIsDamage(reason))
        syslog(LOG_ERR, "%s (%d) The %s is damaged: veluctl status has the commands that make a new one.",
               kLogName, __LINE__, CatalogueName(catalogue));
}
