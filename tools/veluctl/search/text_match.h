// SPDX-License-Identifier: GPL-2.0-or-later
//
// Conditions that a text is, or holds, a folded one, by what the engine has for that.
#pragma once

#include <string>
#include <vector>

#include "platform/db/words.h"
#include "tools/veluctl/sql_text.h"

// Adds the condition that a column, folded, is this text.
void TextIsPut(const std::string &column, const std::string &folded, const VELUDBWords &words,
               SqlText *query);

// Adds the condition that one of the columns, folded, has this text anywhere.
void TextHoldsPut(const std::vector<std::string> &columns, const std::string &folded,
                  const VELUDBWords &words, SqlText *query);

// Returns a pattern for `like` that finds the text anywhere.
std::string LikePattern(const std::string &text);
