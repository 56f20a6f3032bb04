// SPDX-License-Identifier: GPL-2.0-or-later
//
// The records of the run that goes on and of the last one, held against what else is known of them.
#pragma once

#include <sys/types.h>
#include <time.h>

#include <optional>

#include "daemon/index_record.h"

// Returns the record of the run that the daemon of that id is at; nothing where it says nothing.
std::optional<IndexRecord> RunRecordRead(pid_t daemon);

struct LastRun {
    time_t end = 0;                         // of the last one; 0: none since the machine started
    std::optional<IndexRecord> record = {}; // the latest that there is
    [[nodiscard]] bool
    has_record() const; // that of the last run: one that came to no request leaves none, nor do other rules
};
LastRun LastRunRead();
