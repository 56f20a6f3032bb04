// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which catalogues are away, from one run to the next: what keeps requests for days is told when it begins and when it ends, and
// in between by one line of the store, as often as requests are tried again though none comes: after 10 seconds, 20 and so on.
#pragma once

#include <stddef.h>

// To be called when a run of the store has begun: it is told which catalogues are known to be away.
void AwayKnow();

// To be called when that run has ended.
void AwayNote();

// Logs, behind the runs of a pass, which catalogues are back, and how many requests the kept file has, unless all catalogues that
// are away have been so before.
void AwayTell(size_t kept);

// Forgets what is known, as the start of the program does.
void AwayForget();
