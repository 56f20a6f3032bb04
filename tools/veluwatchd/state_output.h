// SPDX-License-Identifier: GPL-2.0-or-later
//
// Telling what the watcher does, for who asks (tools/queue/watcher_state.h).
#pragma once

#include <vector>

#include "tools/queue/watcher_state.h"
#include "tools/veluwatchd/shares.h"

struct StateOutput {
    WatcherState told;
    WatchTime written; // when
};

// Writes what has changed. A number of directories alone is written once a second at most, or with the next change.
void StateTell(StateOutput *output, const std::vector<Share> &shares, const Watcher &watcher, WatchTime now);
