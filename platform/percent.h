// SPDX-License-Identifier: GPL-2.0-or-later
//
// The percent coding of URLs (RFC 3986, section 2.1).
#pragma once

#include <charconv>
#include <string>
#include <string_view>

// Returns the text with each %XX as the byte that it stands for. What is no such code stays, and so does %00, which no path holds.
inline std::string PercentDecoded(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    while (!text.empty()) {
        constexpr size_t kCode = 3;
        unsigned byte = 0;
        const bool coded =
            text.size() >= kCode && text.front() == '%' &&
            std::from_chars(text.data() + 1, text.data() + kCode, byte, 16).ptr == text.data() + kCode &&
            byte != 0;
        decoded.push_back(coded ? static_cast<char>(byte) : text.front());
        text.remove_prefix(coded ? kCode : 1);
    }
    return decoded;
}
