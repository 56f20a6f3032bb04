// SPDX-License-Identifier: GPL-2.0-or-later
//
// Numbers as a page shows them: thousands and units are set off by a narrow space at which no line breaks.
#pragma once

#include <stdint.h>

#include <string>

#define NARROW_SPACE "\u202F"

std::string CountText(int64_t count);             // 12 345
std::string SizeText(double bytes);               // 3.4 GB
std::string PlayingTimeText(double seconds);      // 12 min, 3.4 h, 1 234 h
std::string ShareText(double part, double whole); // 12 %; nothing of nothing is 0 %

// Returns "1 track", "2 345 tracks": `many` is the word for none and for several.
std::string CountedText(int64_t count, const char *one, const char *many);
