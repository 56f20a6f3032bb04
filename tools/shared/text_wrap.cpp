// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/text_wrap.h"

#include <algorithm>

std::vector<std::string> TextWrap(std::string_view text, size_t columns) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        if (!lines.empty() && lines.back().size() + 1 + word.size() <= columns)
            lines.back().append(" ").append(word);
        else
            lines.emplace_back(word);
        text.remove_prefix(std::min(text.size(), word.size() + 1));
    }
    return lines;
}
