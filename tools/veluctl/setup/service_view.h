// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the daemon's service lets it see and write, which is less than what a shell does: systemd.exec(5), sandboxing.
#pragma once

#include <string>

// Returns why the service could not keep files in a folder, which may be yet to be made; empty when it could, or when nobody can tell.
// Where the daemon runs, it is its own view that counts; else what systemd says of its unit.
std::string ServiceFolderProblem(std::string folder);
