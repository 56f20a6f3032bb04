// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the queue waits for: no request must have come for a while, so that a copy of many files is one run.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <optional>
#include <string>

// What is known of the next run. Its time goes by when the queue was written to last, as signals leave no trace.
struct QueueWait {
    bool there = false;    // a queue
    bool after = false;    // a run goes on, and comes first
    int64_t age = 0;       // seconds since the queue was written to
    int64_t quiet = 0;     // seconds that have to pass
    bool starting = false; // the daemon is, and takes what is queued at once when it has
};

QueueWait QueueWaitLook();

// Seconds until the run begins when nothing more comes; nothing when that cannot be told.
std::optional<int64_t> QueueWaitSeconds(const QueueWait &wait);

// Returns the same for people: "begins in 8 s when nothing more comes".
std::string QueueWaitText(const QueueWait &wait);
