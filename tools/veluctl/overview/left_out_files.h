// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl missing files: what lies in the shares, or in a directory, and is left out of the catalogue by the rules.
#pragma once

#include "tools/shared/help_text.h"
#include "tools/veluctl/exit_code.h"
#include "tools/veluctl/options.h"

// The word of this list.
inline constexpr char kLeftOutList[] = "files";

// Prints them by reason and path, as they are met.
ExitCode LeftOutFilesList(const Options &options);

// Returns what the reasons mean.
HelpList LeftOutReasons();
