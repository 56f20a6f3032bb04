// SPDX-License-Identifier: GPL-2.0-or-later
//
// From the text of a tag to the values of facts.
#pragma once

#include <string_view>

#include "reader/protocol/fact_list.h"
#include "reader/sound/tag_row.h"

// Adds the facts of one value. Returns whether there were any; a value that is no good gives none.
bool FactsFromValue(const TagRow &row, std::string_view value, FactSource source, FactList *facts);
