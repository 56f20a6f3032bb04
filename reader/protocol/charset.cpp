// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/charset.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace {

// "iso_8859-2" and "ISO8859-2" are the same.
std::string Simplified(std::string_view name) {
    std::string simple;
    for (const char character : name) {
        if (character >= 'a' && character <= 'z')
            simple.push_back(static_cast<char>(character - 'a' + 'A'));
        else if (character != '-' && character != '_' && character != ' ')
            simple.push_back(character);
    }
    return simple;
}

} // namespace

const Charset *CharsetFind(std::string_view name) {
    const std::string wanted = Simplified(name);
    const auto *found = std::ranges::find_if(kCharsets, [&](const Charset &charset) {
        return Simplified(charset.name) == wanted || (charset.other != nullptr && charset.other == wanted);
    });
    return found != std::end(kCharsets) ? found : nullptr;
}
