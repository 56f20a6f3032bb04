// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/text/code_pages.h"

#include <errno.h>
#include <iconv.h>
#include <stdint.h>

#include <array>
#include <iterator>

#include "platform/utf8.h"
#include "reader/protocol/charset.h"

namespace {

// Kept to the end of the program, without a destructor: closing one would unload its file. Null: it cannot be opened.
std::array<iconv_t, std::size(kCharsets)> converters{};
bool opened = false;

bool IsUtf8(std::string_view text) {
    char32_t character = 0;
    while (Utf8Take(&text, &character) == Utf8::kCharacter) {
    }
    return text.empty();
}

std::string TextOfLatin1(std::string_view text) {
    std::string utf8;
    for (const char byte : text)
        Utf8Append(&utf8, static_cast<uint8_t>(byte));
    return utf8;
}

std::string Converted(std::string_view text, iconv_t converter) {
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    std::string utf8;
    auto *from = const_cast<char *>(text.data());
    size_t left = text.size();
    char part[512];
    for (bool more = true; more;) {
        more = left > 0; // and once more for what it has kept back, as a letter that an accent may follow
        char *to = part;
        size_t room = sizeof part;
        const size_t result = iconv(converter, more ? &from : nullptr, &left, &to, &room);
        utf8.append(part, static_cast<size_t>(to - part));
        if (more && result == static_cast<size_t>(-1) && errno != E2BIG) {
            utf8.append("\xEF\xBF\xBD"); // U+FFFD
            ++from;
            --left;
        }
    }
    return utf8;
}

} // namespace

void CodePagesOpen() {
    for (size_t i = 0; !opened && i < std::size(kCharsets); ++i) {
        const iconv_t converter = iconv_open("UTF-8", kCharsets[i].name);
        converters[i] = converter != reinterpret_cast<iconv_t>(-1) ? converter : nullptr;
    }
    opened = true;
}

std::string TextOfPage(std::string_view text, std::string_view charset) {
    const Charset *known = charset.empty() ? nullptr : CharsetFind(charset);
    const iconv_t converter = known != nullptr ? converters[static_cast<size_t>(known - kCharsets)] : nullptr;
    return converter != nullptr ? Converted(text, converter) : TextOfLatin1(text);
}

std::string TextGuess(std::string_view text, std::string_view charset) {
    return IsUtf8(text) ? std::string(text) : TextOfPage(text, charset);
}
