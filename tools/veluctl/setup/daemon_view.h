// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the running daemon sees of the disk: its service may hide directories from it, and its user may lack rights.
#pragma once

#include <string>

// True when the daemon finds nothing at a path that is there, or a directory of its own in its place. False when no daemon runs,
// or when that is not to be seen by this user.
[[nodiscard]] bool IsHiddenFromDaemon(const std::string &path);

// 0, or the error number of opening a directory and going into it as the daemon's user; without a daemon as this one.
[[nodiscard]] int DaemonDirectoryError(const std::string &path);

// The name of the daemon's user, or its number; without a daemon of this one.
std::string DaemonUserName();
