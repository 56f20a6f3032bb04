// SPDX-License-Identifier: GPL-2.0-or-later
//
// UTF-8, one character at a time. Only the shortest form of each character is valid, and no surrogate is.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

enum class Utf8 {
    kCharacter,
    kCut,     // the bytes end within a character that was right so far
    kInvalid, // also an empty text
};

[[nodiscard]] constexpr bool Utf8IsContinuation(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

// The well-formed sequences that one lead byte may begin (Unicode, table 3-7): how many bytes follow it, and
// the range of the first of them, which is what keeps out overlong forms, surrogates and all above U+10FFFF.
struct Utf8Lead {
    size_t tail; // 0: it begins none
    uint8_t low;
    uint8_t high;
};

[[nodiscard]] constexpr Utf8Lead Utf8LeadOf(uint8_t byte) {
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

// Takes the first character off the front of `text`. Anything but kCharacter leaves both arguments as they are.
[[nodiscard]] constexpr Utf8 Utf8Take(std::string_view *text, char32_t *character) {
    if (text->empty())
        return Utf8::kInvalid;
    const auto first = static_cast<uint8_t>(text->front());
    if (first < 0x80) {
        *character = first;
        text->remove_prefix(1);
        return Utf8::kCharacter;
    }
    const Utf8Lead lead = Utf8LeadOf(first);
    if (lead.tail == 0)
        return Utf8::kInvalid;
    char32_t value = first & (0x3Fu >> lead.tail);
    for (size_t i = 1; i <= lead.tail; ++i) {
        if (i == text->size())
            return Utf8::kCut;
        const auto byte = static_cast<uint8_t>((*text)[i]);
        if (i == 1 ? byte < lead.low || byte > lead.high : !Utf8IsContinuation((*text)[i]))
            return Utf8::kInvalid;
        value = (value << 6) | (byte & 0x3Fu);
    }
    *character = value;
    text->remove_prefix(lead.tail + 1);
    return Utf8::kCharacter;
}

// Returns as many characters off the front of valid text as fit into `size` bytes.
[[nodiscard]] constexpr std::string_view Utf8Front(std::string_view text, size_t size) {
    if (text.size() <= size)
        return text;
    while (size > 0 && Utf8IsContinuation(text[size]))
        --size;
    return text.substr(0, size);
}

// Appends a character, which is no surrogate and at most U+10FFFF.
inline void Utf8Append(std::string *text, char32_t character) {
    const auto append = [text](char32_t byte) { text->push_back(static_cast<char>(byte)); };
    const auto append_tail = [&](int shift) { append(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
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
