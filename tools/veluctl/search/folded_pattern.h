// SPDX-License-Identifier: GPL-2.0-or-later
//
// A regular expression over the bytes of UTF-8 that finds a folded text in texts which are not: a letter stands for each of its
// spellings, with any marks behind it. For engines that cannot fold (platform/db/words.h).
#pragma once

#include <string>
#include <string_view>

// `whole`: nothing else may stand in the text.
std::string FoldedPattern(std::string_view folded, bool whole);
