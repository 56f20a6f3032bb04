// SPDX-License-Identifier: GPL-2.0-or-later
//
// The daemon's pid file, which also sees to it that there is one daemon only.
#pragma once

#include "platform/handle.h"

inline constexpr char kPidFile[] = "/var/run/veluindexd.pid";

enum class PidFileEnd {
    taken,  // this process is the daemon
    others, // another one is, or is about to be
    failed, // the file can be neither made nor opened
};

// Makes the pid file, which holds the process id and is locked for as long as `file` stays open. It comes up locked and
// written, except where it is a link or a device, or where the folder is not the daemon's: there it is written in place.
// A file that no process has locked and that names none that lives gives way. A lock is waited for, for 2 s, while the file
// names nobody. Whatever is not `taken` has a line in the log; so has an id that could not be written, which changes nothing else.
PidFileEnd PidFileTake(FdHandle *file);
