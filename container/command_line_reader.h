// SPDX-License-Identifier: GPL-2.0-or-later
//
// The first line that a shell command prints: what popen, fgets and pclose give, with an end in time. A program
// that hangs on a file must not hold up the daemon.
#pragma once

#include <stddef.h>

enum class CommandAnswer {
    kRead,       // a line, with its newline unless the output or the buffer ended before
    kNone,       // the command printed nothing
    kTimedOut,   // no line in time
    kNotStarted, // no pipe or no process could be had
};

// Runs `command` with the shell, with default signals, and reads one line of at most `size` - 1 bytes. Waits for the shell
// to end, at most `time_limit` milliseconds from the start on; a line read before is still good. Then all that the command
// has started and that is still there is killed, as it is when the daemon ends, however that ends.
CommandAnswer CommandLineRead(const char *command, int time_limit, char *line, size_t size);
