// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a reader gives up before it is handed the first file: whoever takes it over by a file shall find nothing there. The
// order is that of the functions; between RightsGiveUp and LimitsSet the libraries are warmed.
#pragma once

// Returns whether the descriptors that a reader is started with are there.
[[nodiscard]] bool IsStartedByDaemon();

// Empties the environment, closes all other descriptors and puts /dev/null before the standard streams.
void SurroundingsClear();

// Gives up all capabilities and, as root, the user: for kReaderUser, or for nobody where there is none. What the
// surroundings do not allow (a service that may not change users) stays as it is. No other process of the user may
// look into this one, and it does not outlive the one that started it.
void RightsGiveUp();

// Bounds memory, descriptors and what can be written; no processes, no core.
void LimitsSet();

// Leaves no system call but those that reading takes: from descriptors that it is given, the socket, slots (writing), memory,
// time, the end. All others kill, but for a few that libraries make in passing, which fail. False when there is no filter.
[[nodiscard]] bool FilterInstall();
