// SPDX-License-Identifier: GPL-2.0-or-later
//
// The processes that another one has started.
#pragma once

#include <sys/types.h>

#include <string_view>

// Counts the processes of a parent whose names begin so.
size_t ChildProcesses(pid_t parent, std::string_view name);
