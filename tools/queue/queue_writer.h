// SPDX-License-Identifier: GPL-2.0-or-later
//
// Appending to the indexing queue while the daemon, and other programs, do with it what they want.
#pragma once

#include <string_view>

#include "platform/handle.h"

// Appends whole lines with one write. When it returns 0 they are in a file that the daemon will read to its
// end: either the queue as it still is, or one that was taken over after they had got into it. A take-over in
// between makes it write again, so that in rare cases lines are carried out twice (which does no harm), but
// never lost.
//
// A torn line that another program has left at the end of the queue is ended first. What cannot be written to
// its end (a full disk) is taken back. `file`, unless null, receives the file that took the lines. Returns 0
// or an error number.
[[nodiscard]] int QueueAppend(const char *queue, std::string_view lines, FdHandle *file);
