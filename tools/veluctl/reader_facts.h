// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the daemon's readers say of a file under the rule set `complete`.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/record_print.h"

// Hands a file to a reader. Returns a part for each library that says something, or one that says why there is nothing.
std::vector<RecordPart> ReaderFactParts(const std::string &path);
