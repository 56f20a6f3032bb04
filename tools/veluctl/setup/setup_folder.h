// SPDX-License-Identifier: GPL-2.0-or-later
//
// The folders of what an administrator sets up.
#pragma once

#include <string>

#include "tools/veluctl/exit_code.h"

// Makes a folder that everybody may read where there is none, and sees to it that this user may write there. kDone, or what the
// program ends with, which has been told.
ExitCode SetupFolder(const std::string &folder);
