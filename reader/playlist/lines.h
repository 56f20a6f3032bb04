// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text in lines, and words in them.
#pragma once

#include <algorithm>
#include <string_view>

#include "platform/letters.h"

inline constexpr std::string_view kBlanks = " \t";
inline constexpr std::string_view kWhite = " \t\r\n";

// Takes the first line off a text, as any system ends it; false when none is left.
inline bool LineTake(std::string_view *text, std::string_view *line) {
    if (text->empty())
        return false;
    const size_t end = std::min(text->find_first_of("\r\n"), text->size());
    *line = text->substr(0, end);
    text->remove_prefix(end);
    text->remove_prefix(text->starts_with("\r\n") ? 2 : std::min<size_t>(1, text->size()));
    return true;
}

inline std::string_view WithoutFirst(std::string_view text, std::string_view characters) {
    return text.substr(std::min(text.find_first_not_of(characters), text.size()));
}

inline std::string_view WithoutEnds(std::string_view text, std::string_view characters) {
    const std::string_view rest = WithoutFirst(text, characters);
    return rest.substr(0, rest.find_last_not_of(characters) + 1);
}

inline bool BeginsWithWord(std::string_view text, std::string_view begin) {
    return text.size() >= begin.size() && IsSame(text.substr(0, begin.size()), begin);
}
