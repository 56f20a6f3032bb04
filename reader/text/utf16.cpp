// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/text/utf16.h"

#include "platform/utf8.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(uint16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(uint16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
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
