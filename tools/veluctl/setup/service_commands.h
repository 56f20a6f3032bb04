// SPDX-License-Identifier: GPL-2.0-or-later
//
// The commands by which an administrator starts what runs beside veluctl.
#pragma once

// Returns the one that starts the daemon: that of the machine's init system where it has the service, else the program itself.
const char *DaemonStartCommand();

// Has the watcher run from now on, also after the machine's next start.
inline constexpr char kWatcherEnableCommand[] = "sudo systemctl enable --now veluwatchd";
