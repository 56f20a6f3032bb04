// SPDX-License-Identifier: GPL-2.0-or-later
//
// Finding the running daemon and waking it; finding the watcher.
#pragma once

#include <sys/types.h>

#include <string>

inline constexpr char kDaemonPidFile[] = "/var/run/veluindexd.pid";
inline constexpr char kWatcherPidFile[] = "/var/run/veluwatchd.pid";

// Finds the daemon's process id; 0 when its pid file is missing or names a process that has ended or is none of the
// daemon: a crash leaves the file, and the number goes to somebody else whom SIGUSR1 would end.
pid_t DaemonFind();

// Waits a moment for a daemon that is starting: it goes to the background, where a service manager takes it for started, before its
// pid file is there.
void DaemonAwait();

// Finds the watcher's, likewise.
pid_t WatcherFind();

// Tells the daemon that work is queued. Returns 0, or an error number: ESRCH when no daemon runs.
[[nodiscard]] int DaemonWake();

// Gives the path of a process's file in /proc.
[[nodiscard]] std::string ProcPath(pid_t pid, const char *name);
