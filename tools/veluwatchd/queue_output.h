// SPDX-License-Identifier: GPL-2.0-or-later
//
// Handing requests to the daemon.
#pragma once

#include <string>

#include "platform/handle.h"
#include "tools/veluwatchd/changes.h"

struct QueueOutput {
    std::string waiting; // lines that could not be written yet
    bool failure_told = false;
    FdHandle file; // that took the last lines; the daemon removes its name when it has done them
    WatchTime retry;
};

// Queues lines behind those that wait, and tells the daemon. False when they wait.
bool QueueOutputWrite(QueueOutput *output, const std::string &lines, WatchTime now);

// True when the daemon has done all that was asked.
[[nodiscard]] bool QueueOutputDone(const QueueOutput &output);
