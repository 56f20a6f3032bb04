// SPDX-License-Identifier: GPL-2.0-or-later
//
// Words of formats and protocols, which are those of ASCII.
#pragma once

#include <strings.h>

#include <string_view>

[[nodiscard]] constexpr bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

// The small letter of a capital one; of all else the byte itself.
[[nodiscard]] constexpr char Lower(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

// The capital letter of a small one; of all else the byte itself.
[[nodiscard]] constexpr char Upper(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

// Without regard to the case of ASCII.
inline bool IsSame(std::string_view text, std::string_view other) {
    return text.size() == other.size() && strncasecmp(text.data(), other.data(), text.size()) == 0;
}
