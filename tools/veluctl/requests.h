// SPDX-License-Identifier: GPL-2.0-or-later
//
// Sending lines of the queue from any command.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/exit_code.h"
#include "tools/veluctl/options.h"

// Queues whole lines, tells the daemon and follows the run, as the options say.
ExitCode RequestLinesSend(const std::vector<std::string> &lines, const Options &options);
