// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/text.h"

#include "platform/utf8.h"
#include "reader/sound/code_pages.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(uint16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(uint16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

std::string TextOfLatin1(Bytes text) {
    std::string utf8;
    for (const uint8_t byte : text)
        Utf8Append(&utf8, byte);
    return utf8;
}

bool IsUtf8(Bytes text) {
    std::string_view rest = Characters(text);
    char32_t character = 0;
    while (!rest.empty()) {
        if (Utf8Take(&rest, &character) != Utf8::kCharacter)
            return false;
    }
    return true;
}

} // namespace

std::string TextOfUtf16(Bytes text, ByteOrder order) {
    std::string utf8;
    Cursor cursor{text};
    while (cursor.rest.size() >= 2) {
        const auto unit = static_cast<uint16_t>(TakeNumber(&cursor, 2, order));
        char32_t character = unit;
        if (IsHighSurrogate(unit) && cursor.rest.size() >= 2) {
            Cursor ahead = cursor;
            const auto low = static_cast<uint16_t>(TakeNumber(&ahead, 2, order));
            if (IsLowSurrogate(low)) {
                character = 0x10000 + (static_cast<char32_t>(unit & 0x3FF) << 10 | (low & 0x3FF));
                cursor = ahead;
            }
        }
        Utf8Append(&utf8, character < 0x10000 && (unit & 0xF800) == 0xD800 ? kReplacement : character);
    }
    return utf8;
}

std::string TextOfPage(Bytes text, std::string_view code_page) {
    std::string utf8;
    return CodePageConvert(text, code_page, &utf8) ? utf8 : TextOfLatin1(text);
}

std::string TextDecode(Bytes text, TextEncoding encoding, std::string_view code_page) {
    switch (encoding) {
    case TextEncoding::utf16:
        if (BeginsWith(text, "\xFE\xFF"))
            return TextOfUtf16(text.subspan(2), ByteOrder::kBig);
        return TextOfUtf16(BeginsWith(text, "\xFF\xFE") ? text.subspan(2) : text, ByteOrder::kLittle);
    case TextEncoding::utf16_big:
        return TextOfUtf16(BeginsWith(text, "\xFE\xFF") ? text.subspan(2) : text, ByteOrder::kBig);
    case TextEncoding::utf8:
        return std::string(Characters(text));
    case TextEncoding::single_bytes:
        break;
    }
    return TextOfPage(text, code_page);
}

std::string TextGuess(Bytes text, std::string_view code_page) {
    return IsUtf8(text) ? std::string(Characters(text)) : TextOfPage(text, code_page);
}

Bytes TakeText(Cursor *cursor, TextEncoding encoding) {
    const size_t unit = encoding == TextEncoding::utf16 || encoding == TextEncoding::utf16_big ? 2 : 1;
    size_t end = 0;
    while (end + unit <= cursor->rest.size() &&
           (cursor->rest[end] != 0 || (unit == 2 && cursor->rest[end + 1] != 0)))
        end += unit;
    const Bytes text = Take(cursor, std::min(end, cursor->rest.size()));
    Take(cursor, std::min(unit, cursor->rest.size()));
    return text;
}
