// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/text.h"

#include <stdint.h>
#include <string.h>

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

bool IsContinuation(uint8_t byte) {
    return (byte & 0xC0) == 0x80;
}

void AppendCharacter(std::string *text, char32_t character) {
    const auto append = [text](char32_t byte) { text->push_back(static_cast<char>(byte)); };
    const auto append_tail = [&](int shift) { append(0x80 | ((character >> shift) & 0x3F)); };
    if (IsControl(character)) {
        append(' ');
    } else if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0 | (character >> 6));
        append_tail(0);
    } else if (character < 0x10000) {
        append(0xE0 | (character >> 12));
        append_tail(6);
        append_tail(0);
    } else {
        append(0xF0 | (character >> 18));
        append_tail(12);
        append_tail(6);
        append_tail(0);
    }
}

void TrimBlanks(std::string *text) {
    text->erase(text->find_last_not_of(' ') + 1);
    text->erase(0, text->find_first_not_of(' '));
}

enum class Utf8 { kCharacter, kCut, kInvalid };

// The well-formed sequences that one lead byte may begin (Unicode, table 3-7): how many bytes follow it, and
// the range of the first of them, which is what keeps out overlong forms, surrogates and all above U+10FFFF.
struct Utf8Lead {
    size_t tail;
    uint8_t low;
    uint8_t high;
};

Utf8Lead LeadOf(uint8_t byte) {
    if (byte >= 0xC2 && byte <= 0xDF)
        return {1, 0x80, 0xBF};
    if (byte >= 0xE0 && byte <= 0xEF)
        return {2, static_cast<uint8_t>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<uint8_t>(byte == 0xED ? 0x9F : 0xBF)};
    if (byte >= 0xF0 && byte <= 0xF4)
        return {3, static_cast<uint8_t>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<uint8_t>(byte == 0xF4 ? 0x8F : 0xBF)};
    return {0, 0, 0};
}

// Takes the first character off `bytes` (1 byte at least). kCut: they end within a character that was right
// so far.
Utf8 TakeUtf8(const uint8_t *bytes, size_t size, char32_t *character, size_t *length) {
    if (bytes[0] < 0x80) {
        *character = bytes[0];
        *length = 1;
        return Utf8::kCharacter;
    }
    const Utf8Lead lead = LeadOf(bytes[0]);
    if (lead.tail == 0)
        return Utf8::kInvalid;
    char32_t value = bytes[0] & (0x3Fu >> lead.tail);
    for (size_t i = 1; i <= lead.tail; ++i) {
        if (i == size)
            return Utf8::kCut;
        const bool right = i == 1 ? bytes[i] >= lead.low && bytes[i] <= lead.high : IsContinuation(bytes[i]);
        if (!right)
            return Utf8::kInvalid;
        value = (value << 6) | (bytes[i] & 0x3Fu);
    }
    *character = value;
    *length = lead.tail + 1;
    return Utf8::kCharacter;
}

// False when the bytes are not UTF-8. In a `full` field a cut character at the end is left out.
bool AppendUtf8(std::string *text, const uint8_t *bytes, size_t size, bool full) {
    while (size > 0) {
        char32_t character = 0;
        size_t length = 0;
        switch (TakeUtf8(bytes, size, &character, &length)) {
        case Utf8::kInvalid:
            return false;
        case Utf8::kCut:
            return full;
        case Utf8::kCharacter:
            AppendCharacter(text, character);
            bytes += length;
            size -= length;
        }
    }
    return true;
}

std::string SingleByteText(const uint8_t *bytes, size_t size) {
    const size_t length = strnlen(reinterpret_cast<const char *>(bytes), size);
    const bool full = size - length <= 1;
    std::string text;
    if (!AppendUtf8(&text, bytes, length, full)) {
        text.clear();
        for (size_t i = 0; i < length; ++i)
            AppendCharacter(&text, bytes[i]);
    }
    return text;
}

std::string Utf16Text(const uint8_t *bytes, size_t size) {
    std::string text;
    // Half a unit at the end of a field of odd size is what the size has cut off.
    const size_t units = size / 2;
    const auto big_endian_unit = [bytes](size_t i) {
        return static_cast<char32_t>((bytes[2 * i] << 8) | bytes[2 * i + 1]);
    };
    if (units == 0)
        return text;
    const char32_t mark = big_endian_unit(0);
    if (mark != kByteOrderMark && mark != kSwappedByteOrderMark)
        return text;
    const bool little = mark == kSwappedByteOrderMark;
    const auto unit = [&](size_t i) {
        const char32_t value = big_endian_unit(i);
        return little ? ((value & 0xFF) << 8) | (value >> 8) : value;
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
    const auto *bytes = reinterpret_cast<const uint8_t *>(field);
    std::string text = utf16 ? Utf16Text(bytes, size) : SingleByteText(bytes, size);
    TrimBlanks(&text);
    return text;
}

void CatalogueTextInPlace(char *field, size_t size) {
    if (field == nullptr || size == 0)
        return;
    std::string text = CatalogueText(field, size, false);
    if (text.size() >= size) {
        size_t end = size - 1;
        while (end > 0 && IsContinuation(static_cast<uint8_t>(text[end])))
            --end;
        text.resize(end);
        TrimBlanks(&text);
    }
    memset(field, 0, size);
    memcpy(field, text.data(), text.size());
}
