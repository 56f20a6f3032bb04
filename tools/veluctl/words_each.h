// SPDX-License-Identifier: GPL-2.0-or-later
//
// Words with a blank between them.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

// Calls `take` with each of them.
template <typename Take>
void WordsEach(std::string_view words, Take take) {
    for (size_t at = 0; at < words.size();) {
        const size_t end = std::min(words.find(' ', at), words.size());
        take(std::string(words.substr(at, end - at)));
        at = end + 1;
    }
}
