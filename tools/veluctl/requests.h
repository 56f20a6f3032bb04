// SPDX-License-Identifier: GPL-2.0-or-later
//
// Asking the daemon for work: the commands that do so, and sending lines of the queue from any command.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "daemon/queue_line.h"
#include "tools/veluctl/commands.h"

// A command that asks for work. What it takes on the command line follows from what the queue's command takes.
struct RequestCommand {
    const char *name;
    const char *description;
    Command run;
    QueueCommand command;
    const char *argument; // what is to be given, where the queue's command does not say it all
};

// Returns the commands that ask for work, in the order in which help shows them.
std::span<const RequestCommand> RequestCommands();

// Queues whole lines, tells the daemon and follows the run, as the options say.
ExitCode RequestLinesSend(const std::vector<std::string> &lines, const Options &options);
