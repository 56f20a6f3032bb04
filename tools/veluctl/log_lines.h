// SPDX-License-Identifier: GPL-2.0-or-later
//
// This program's own syslog(): the libraries tell what went wrong in log lines, and here a person waits for
// them. They are kept instead of sent; the system's log is the daemon's.
#pragma once

#include <string>
#include <vector>

// Returns the texts of all lines since the last call, oldest first, without the module and line number in
// front.
std::vector<std::string> LogLinesTake();

// Returns the same as one text for a message; a general one when there are none.
std::string LogReasonTake();
