// SPDX-License-Identifier: GPL-2.0-or-later
//
// From the kernel's events to changes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/veluwatchd/watcher.h"

struct EventReader {
    // Entries that were moved away from somewhere, and not yet to somewhere.
    struct Leaving {
        uint32_t cookie;
        NodeId parent;
        std::string path;
        std::string name;
        bool directory;
        WatchTime since;
    };
    std::vector<Leaving> leaving;
};

enum class EventResult { drained, overflow, failed };

// Reads all events that there are. After an overflow nothing that is known can be relied upon.
EventResult EventsRead(EventReader *reader, Watcher *watcher);

// Takes what was moved away and has come nowhere in time, or whatever the time, for gone.
void LeavingExpire(EventReader *reader, Watcher *watcher, WatchTime now, bool all);

// When that will be.
std::optional<WatchTime> LeavingDue(const EventReader &reader);
