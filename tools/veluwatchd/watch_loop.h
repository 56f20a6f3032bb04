// SPDX-License-Identifier: GPL-2.0-or-later
//
// The watcher's life: events, pauses, requests.
#pragma once

#include "tools/veluwatchd/options.h"

// Runs until a signal comes on the descriptor. Gives 0, or the error number of what ended it.
[[nodiscard]] int WatchLoop(const WatchOptions &options, bool broken_off, int signals);
