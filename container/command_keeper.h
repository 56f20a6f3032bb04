// SPDX-License-Identifier: GPL-2.0-or-later
//
// A process between the daemon and a shell command, by which nothing that the command starts outlives what it is for.
// The shell may be gone long before what it has left behind, and a process that was left behind has no tie to the daemon.
#pragma once

#include "platform/handle.h"

#include <stdint.h>
#include <sys/types.h>

struct CommandKeeper {
    pid_t pid = -1;
    FdHandle
        life; // to the keeper; once it is closed, by the end of this process too, all of the command ends
};

// Starts `command` with the shell, with default signals and `output` as its standard output. False when no process could be
// had.
[[nodiscard]] bool CommandKeeperStart(const char *command, const FdHandle &output, CommandKeeper *keeper);

// Waits for the end of the shell, but not beyond `deadline` (MonotonicMilliseconds), then kills all that the command has
// started. False when there was no shell.
[[nodiscard]] bool CommandKeeperEnd(CommandKeeper *keeper, int64_t deadline);

// Waits until the descriptor has bytes or has ended. False when the time is over.
[[nodiscard]] bool WaitForBytes(const FdHandle &fd, int64_t deadline);
