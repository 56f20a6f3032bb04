// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether the readers of media files have a user of their own, beside the system call filter.
#pragma once

#include <string>

// Returns what is to be said of a daemon by the text of its /proc/PID/status; empty when nothing is. `has_user`: whether this
// machine has kReaderUser.
std::string ReadersRemark(const std::string &process_status, bool has_user);

// The same of the daemon that runs. Empty also when none does, or when it has no readers by its rules.
std::string ReadersRemarkNow();
