// SPDX-License-Identifier: GPL-2.0-or-later
//
// The system calls that are left to a process that reads a hostile file.
#pragma once

// Lets this process, from now on, only compute, allocate memory, tell the time, read and write descriptors
// that are open, and end. Any other system call kills it with SIGSYS; a few that libraries make in passing
// (to open a file for reading, to start a thread) fail instead. Returns true also on a kernel that has no
// filters, false when the filter could not be installed.
bool SyscallFilterInstall();
