// SPDX-License-Identifier: GPL-2.0-or-later
//
// Texts in single quotes, as shells read them.
#pragma once

#include <string>
#include <string_view>

// Returns a text in single quotes, in which the shell reads the quote itself as `quote`, and a backslash as `backslash`.
inline std::string SingleQuoted(std::string_view text, std::string_view quote, std::string_view backslash) {
    std::string quoted = "'";
    for (const char byte : text) {
        if (byte == '\'')
            quoted += quote;
        else if (byte == '\\')
            quoted += backslash;
        else
            quoted += byte;
    }
    return quoted + '\'';
}
