// SPDX-License-Identifier: GPL-2.0-or-later
//
// How somebody switches from the appliance's rules, which an upgrade leaves as they are, and what that changes.
#pragma once

// Prints it, where these rules are configured. False where they are not.
bool RulesHintPrint();
