// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/text.h"

#include "reader/text/code_pages.h"

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
    return TextOfPage(Characters(text), code_page);
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
