// SPDX-License-Identifier: GPL-2.0-or-later
//
// The first line that a shell command prints: what popen, fgets and pclose give, with an end in time. A program
// that hangs on a file must not hold up the daemon.
#pragma once

#include <stddef.h>

enum class CommandLine {
    kRead,       // a line, with its newline unless the output or the buffer ended before
    kNone,       // the command printed nothing
    kTimedOut,   // no line in time
    kNotStarted, // no pipe or no process could be had
};

// Runs `command` with the shell in a process group of its own, with default signals, and reads one line of at
// most `size` - 1 bytes. Waits for the command to end. After `time_limit` milliseconds the whole group is killed; a
// line read before is still good.
CommandLine CommandLineRead(const char *command, int time_limit, char *line, size_t size);
