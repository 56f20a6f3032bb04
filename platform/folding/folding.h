// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text as searches compare it: without regard to case, accents and width.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

// Returns by which data of Unicode and by which revision of the rule below text is folded: a number that grows with both.
int64_t FoldingVersion();

// Returns at most `most` bytes of UTF-8, cut at a character: the text in normal form KC, its case folded, all its marks
// removed. What is not UTF-8 counts as U+FFFD. Text that is folded stays as it is.
std::string TextFolded(std::string_view text, size_t most);

// Returns text in normal form C, in which names count as the same however they are composed; and that without regard to case. What
// is not UTF-8 stays as it is.
std::string TextNormal(std::string_view text);
std::string TextCaseless(std::string_view text);
