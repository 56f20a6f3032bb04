// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/text.h"

#include <algorithm>

#include "platform/utf8.h"
#include "reader/text/code_pages.h"

namespace {

using namespace std::string_view_literals;

constexpr bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

} // namespace

std::string TextFromBytes(std::string_view bytes, std::string_view charset) {
    return TextGuess(bytes.substr(0, bytes.find('\0')), charset);
}

std::string TextFromUtf16(std::span<const uint8_t> bytes, ByteOrder order) {
    constexpr char32_t kMark = 0xFEFF;
    constexpr char32_t kSwappedMark = 0xFFFE;
    constexpr char32_t kReplacement = 0xFFFD;
    const auto unit = [&bytes, &order](size_t at) {
        return static_cast<char32_t>(BytesNumber(bytes.data() + at, 2, order));
    };
    if (bytes.size() >= 2 && unit(0) == kSwappedMark)
        order = order == ByteOrder::kBig ? ByteOrder::kLittle : ByteOrder::kBig;
    std::string text;
    for (size_t at = 0; at + 2 <= bytes.size(); at += 2) {
        char32_t character = unit(at);
        if (character == 0)
            break;
        if (character == kMark)
            continue;
        if (IsHighSurrogate(character) && at + 4 <= bytes.size() && IsLowSurrogate(unit(at + 2))) {
            character = 0x10000 + ((character - 0xD800) << 10) + (unit(at + 2) - 0xDC00);
            at += 2;
        } else if (IsHighSurrogate(character) || IsLowSurrogate(character)) {
            character = kReplacement;
        }
        Utf8Append(&text, character);
    }
    return text;
}

std::string TextFromUserComment(std::string_view value, ByteOrder order, std::string_view charset) {
    constexpr size_t kCode = 8; // EXIF 2.3, section 4.6.5
    const std::string_view code = value.substr(0, kCode);
    std::string_view text = value.substr(std::min(kCode, value.size()));
    if (code == "UNICODE\0"sv)
        return TextFromUtf16({reinterpret_cast<const uint8_t *>(text.data()), text.size()}, order);
    // Some writers leave the code out.
    const bool coded = code == "ASCII\0\0\0"sv || code == "JIS\0\0\0\0\0"sv || code == "\0\0\0\0\0\0\0\0"sv;
    return TextFromBytes(coded ? text : value, charset);
}

std::vector<std::string> TextParts(std::string_view text) {
    std::vector<std::string> parts;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(';', begin), text.size());
        parts.emplace_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}
