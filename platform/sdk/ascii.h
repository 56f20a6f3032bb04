// SPDX-License-Identifier: GPL-2.0-or-later
//
// White space as the C locale has it, whatever locale the program has set.
#pragma once

#include <string_view>

inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

inline constexpr bool IsSpace(char byte) {
    return kWhiteSpace.find(byte) != std::string_view::npos;
}
