// SPDX-License-Identifier: GPL-2.0-or-later
//
// Load-on-demand modules: shared objects with one narrow entry each, so that the libraries that they link
// cost memory and start-up time only where they are used.
#pragma once

#include <string>

// Returns the path of a file (a name without folders) that is installed beside the modules: in ../lib/velu of the folder of
// the running program, else in the folder of the installation, whether it is there or not.
std::string ModulePath(const char *file);

// Returns the function `entry` of the module `file` (found by ModulePath), which is loaded by the first call and stays
// loaded. Returns null when there is none; the reason is then in `error`.
void *ModuleEntry(const char *file, const char *entry, std::string *error);
