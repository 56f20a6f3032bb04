// SPDX-License-Identifier: GPL-2.0-or-later
//
// Load-on-demand modules: shared objects with one narrow entry each, so that the libraries that they link
// cost memory and start-up time only where they are used.
#pragma once

#include <string>

// Returns the function `entry` of the module `file` (a name without folders), which is loaded by the first
// call and stays loaded. It is looked for in ../lib/velu of the folder of the running program, then in the
// folder of the installation. Returns null when there is none; the reason is then in `error`.
void *ModuleEntry(const char *file, const char *entry, std::string *error);
