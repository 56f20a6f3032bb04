// SPDX-License-Identifier: GPL-2.0-or-later
//
// A line of the daemon's, out of the system's log.
#pragma once

#include <stdint.h>
#include <time.h>

#include <string>
#include <string_view>

struct LoggedLine {
    int64_t time = 0; // seconds of the epoch
    std::string text; // without the place in the source
};

// Reads a line of journalctl --output=short-unix: "1700000000.123456 host veluindexd[12]: text". False for one that is not the
// daemon's.
[[nodiscard]] bool LoggedLineOfJournal(std::string_view line, LoggedLine *read);

// Reads a line of a file of rsyslog's, in either form: "Nov  9 01:46:40 host veluindexd[12]: text", which says no year and is of
// before `now`, or with 2001-09-09T01:46:40.123456+00:00 in front. False for one that is not the daemon's.
[[nodiscard]] bool LoggedLineOfFile(std::string_view line, time_t now, LoggedLine *read);
