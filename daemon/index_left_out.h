// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a run by the rules `complete` has left out, by the reason.
#pragma once

#include "daemon/walk_rules.h"

// Returns where that is counted; null by the appliance's rules, which tell nothing of it.
LeftOutCounts *LeftOutCounted();

// Returns what is left out for a reason, in words that stand behind a number.
const char *LeftOutWords(LeftOut why);

// Says it in one line, unless it is nothing, and begins anew.
void LeftOutTell();
