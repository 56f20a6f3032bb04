// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl list artists, albums, ...: what the files of the catalogue have in common, with how many there are of each.
#pragma once

#include <vector>

#include "tools/veluctl/exit_code.h"
#include "tools/veluctl/options.h"

// Returns the words for what can be listed so.
std::vector<const char *> GroupWords();

ExitCode GroupsList(const Options &options);
