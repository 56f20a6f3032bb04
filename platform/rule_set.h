// SPDX-License-Identifier: GPL-2.0-or-later
//
// By which rules files are read and catalogued: the one place that knows.
#pragma once

enum class RuleSet {
    appliance, // as the other programs of an appliance count on
    complete,  // all that a file says of itself
};

// Reads the key `rules`, for the life of the process. A value that is no rule set costs one log line and counts as
// `appliance`, which also holds where nobody has called this: tools follow no rules.
void RuleSetRead();

// The same for the daemon's companions, whose rules follow its own: without a line.
void RuleSetFollow();

// Returns what the configuration says at this moment, without a line: what the next start of the daemon will read.
[[nodiscard]] RuleSet RuleSetConfigured();

// Returns what was read.
[[nodiscard]] RuleSet RuleSetActive();

// Returns the word for a rule set, as the key and the catalogue have it.
[[nodiscard]] const char *RuleSetWord(RuleSet rules);
