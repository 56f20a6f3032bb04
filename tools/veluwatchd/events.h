// SPDX-License-Identifier: GPL-2.0-or-later
//
// From the kernel's events to changes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/veluwatchd/watcher.h"

struct EventReader {
    // Entries whose move away was told by the kernel and whose arrival was not, yet.
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

// Takes entries for gone that were moved away and have not arrived in time, or (`all`) all that have not
// arrived.
void LeavingExpire(EventReader *reader, Watcher *watcher, WatchTime now, bool all);

// Returns when the next of them is due; nothing when none waits.
std::optional<WatchTime> LeavingDue(const EventReader &reader);
