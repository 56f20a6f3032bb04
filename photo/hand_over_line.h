// SPDX-License-Identifier: GPL-2.0-or-later
//
// The lines of the spool of hand-overs (hand_over_spool.h): a sign, a checksum of what follows it, and behind a blank the
// path, the attribute and the text, with tabs between them. "+" is a text that is wanted, "-" one that is not any more.
//
//     +5f0c2b1e /volume1/photo/Trip/a.jpg	VELUPHOTO:TITLE	Holiday\n
//
// Backslash, newline and tab are written "\\", "\n" and "\t" within the three, which may have any other bytes.
#pragma once

#include <string>
#include <string_view>

inline constexpr char kHandOverWanted = '+';
inline constexpr char kHandOverDone = '-';

struct HandOverText {
    std::string path;
    std::string attribute;
    std::string text; // as it was read
};

// The line of a text that is wanted, with its newline.
std::string HandOverLineOf(const HandOverText &given);

// Reads a line without its newline, whatever its sign. False when it is damaged.
[[nodiscard]] bool HandOverLineRead(std::string_view line, HandOverText *out);
