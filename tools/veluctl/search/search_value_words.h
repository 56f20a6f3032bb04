// SPDX-License-Identifier: GPL-2.0-or-later
//
// The values of fields that have a fixed set of them, for the completion.
#pragma once

#include <vector>

#include "tools/shared/command_table.h"

std::vector<ValueWords> SearchValueWords();
