// SPDX-License-Identifier: GPL-2.0-or-later
//
// The daemon's pid file, which also sees to it that there is one daemon only.
#pragma once

#include "platform/handle.h"

inline constexpr char kPidFile[] = "/var/run/veluindexd.pid";

// Locks the pid file for the life of the process and writes the process id into it. `file` has to stay open. Returns the
// status with which the process has to end, or -1 when it goes on: 1 when another daemon has the lock, 0 when the file
// cannot be made; each with a line in the log. An id that cannot be written costs a line only.
int PidFileTake(FdHandle *file);
