// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/text.h"

#include <stdint.h>
#include <string.h>

#include <string_view>

#include "platform/bytes.h"
#include "platform/utf8.h"

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char32_t kByteOrderMark = 0xFEFF;
constexpr char32_t kSwappedByteOrderMark = 0xFFFE;

bool IsControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character <= 0x9F);
}

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendCharacter(std::string *text, char32_t character) {
    Utf8Append(text, IsControl(character) ? U' ' : character);
}

void TrimBlanks(std::string *text) {
    text->erase(text->find_last_not_of(' ') + 1);
    text->erase(0, text->find_first_not_of(' '));
}

// False when the bytes are not UTF-8. A cut character at the end is left out in a `full` field, and behind a whole one of
// several bytes: such text is UTF-8 that a shorter field has cut on its way here (30 bytes of an ID3v1 tag, say), while
// a single high byte at the end of ASCII is a letter of ISO-8859-1.
bool AppendUtf8(std::string *text, std::string_view bytes, bool full) {
    bool is_utf8 = false;
    while (!bytes.empty()) {
        char32_t character = 0;
        const Utf8 taken = Utf8Take(&bytes, &character);
        if (taken != Utf8::kCharacter)
            return taken == Utf8::kCut && (full || is_utf8);
        is_utf8 = is_utf8 || character >= 0x80;
        AppendCharacter(text, character);
    }
    return true;
}

std::string SingleByteText(std::string_view bytes, bool full) {
    std::string text;
    if (!AppendUtf8(&text, bytes, full)) {
        text.clear();
        for (const char byte : bytes)
            AppendCharacter(&text, static_cast<uint8_t>(byte));
    }
    return text;
}

std::string Utf16Text(const uint8_t *bytes, size_t size) {
    std::string text;
    // Half a unit at the end of a field of odd size is what the size has cut off.
    const size_t units = size / 2;
    if (units == 0)
        return text;
    const char32_t mark = BigEndian16(bytes);
    if (mark != kByteOrderMark && mark != kSwappedByteOrderMark)
        return text;
    const bool little = mark == kSwappedByteOrderMark;
    const auto unit = [&](size_t i) -> char32_t {
        return little ? LittleEndian16(bytes + 2 * i) : BigEndian16(bytes + 2 * i);
    };
    size_t end = 1;
    while (end < units && unit(end) != 0)
        ++end;
    // No room was left for one more unit and a terminator, so that half a pair at the end is a character
    // that the size has cut off as well.
    const bool full = size - 2 * end < 4;
    for (size_t i = 1; i < end; ++i) {
        const char32_t value = unit(i);
        if (IsHighSurrogate(value) && i + 1 < end && IsLowSurrogate(unit(i + 1))) {
            ++i;
            AppendCharacter(&text, 0x10000 + ((value - 0xD800) << 10) + (unit(i) - 0xDC00));
        } else if (IsHighSurrogate(value) && i + 1 == end && full) {
            break;
        } else if (IsHighSurrogate(value) || IsLowSurrogate(value)) {
            AppendCharacter(&text, kReplacementCharacter);
        } else {
            AppendCharacter(&text, value);
        }
    }
    return text;
}

} // namespace

std::string CatalogueText(const char *field, size_t size, bool utf16) {
    if (field == nullptr)
        return {};
    const size_t length = strnlen(field, size);
    std::string text = utf16 ? Utf16Text(reinterpret_cast<const uint8_t *>(field), size)
                             : SingleByteText({field, length}, size - length <= 1);
    TrimBlanks(&text);
    return text;
}

std::string CatalogueText(std::string_view bytes) {
    std::string text = SingleByteText(bytes, false);
    TrimBlanks(&text);
    return text;
}

void CatalogueTextInPlace(char *field, size_t size) {
    if (field == nullptr || size == 0)
        return;
    std::string text = CatalogueText(field, size, false);
    if (text.size() >= size) {
        text.resize(Utf8Front(text, size - 1).size());
        TrimBlanks(&text);
    }
    memset(field, 0, size);
    memcpy(field, text.data(), text.size());
}
