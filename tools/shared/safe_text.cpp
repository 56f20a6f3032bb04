// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/safe_text.h"

#include <langinfo.h>
#include <locale.h>
#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include <algorithm>
#include <span>

namespace {

bool unicode_terminal = false;

constexpr char32_t kFirstUnicode = 0x80;

struct Range {
    char32_t first;
    char32_t last;
};

// What has no glyph of its own but changes how others are shown, or whether.
constexpr Range kHidden[] = {
    {0x00, 0x1F},       // C0
    {0x7F, 0x9F},       // DEL and C1: 8-bit terminals take orders in these too
    {0xAD, 0xAD},       // soft hyphen
    {0x061C, 0x061C},   // Arabic letter mark
    {0x180E, 0x180E},   // Mongolian vowel separator
    {0x200B, 0x200F},   // zero width, direction marks
    {0x2028, 0x202E},   // line and paragraph separators, embeddings and overrides
    {0x2060, 0x206F},   // invisible operators, isolates
    {0xFE00, 0xFE0F},   // variation selectors
    {0xFEFF, 0xFEFF},   // byte-order mark
    {0xFFF9, 0xFFFB},   // annotations
    {0xE0000, 0xE0FFF}, // tags
};

// What joins or varies the characters beside it, so that they are written as their language does.
constexpr Range kComposed[] = {{0x200C, 0x200D}, {0xFE00, 0xFE0F}};
constexpr char32_t kNoCharacter = 0xFFFE; // the last two of every plane

bool IsIn(std::span<const Range> ranges, char32_t character) {
    return std::any_of(ranges.begin(), ranges.end(), [=](const Range &range) {
        return character >= range.first && character <= range.last;
    });
}

bool IsShownOnTerminal(char32_t character) {
    return !IsIn(kHidden, character) &&
           (character < kFirstUnicode || (unicode_terminal && wcwidth(static_cast<wchar_t>(character)) >= 0));
}

bool IsShownOnPage(char32_t character) {
    return IsIn(kComposed, character) ||
           (!IsIn(kHidden, character) && (character & kNoCharacter) != kNoCharacter);
}

struct Form {
    unsigned char mask;
    unsigned char lead;
    size_t following;
    char32_t least; // a smaller character in so many bytes has a shorter form, which alone is valid
};
constexpr Form kForms[] = {
    {0x80, 0x00, 0, 0}, {0xE0, 0xC0, 1, 0x80}, {0xF0, 0xE0, 2, 0x800}, {0xF8, 0xF0, 3, 0x10000}};
constexpr char32_t kLastCharacter = 0x10FFFF;
constexpr Range kSurrogates = {0xD800, 0xDFFF};

} // namespace

void SafeTextPrepare() {
    setlocale(LC_CTYPE, "");
    unicode_terminal = strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

bool CharacterTake(std::string_view *text, char32_t *character) {
    if (text->empty())
        return false;
    const auto lead = static_cast<unsigned char>(text->front());
    for (const Form &form : kForms) {
        if ((lead & form.mask) != form.lead)
            continue;
        if (text->size() <= form.following)
            return false;
        char32_t value = static_cast<unsigned char>(lead & ~form.mask);
        for (size_t at = 1; at <= form.following; ++at) {
            const auto byte = static_cast<unsigned char>((*text)[at]);
            if ((byte & 0xC0) != 0x80)
                return false;
            value = value << 6 | (byte & 0x3FU);
        }
        if (value < form.least || value > kLastCharacter ||
            (value >= kSurrogates.first && value <= kSurrogates.last))
            return false;
        *character = value;
        text->remove_prefix(form.following + 1);
        return true;
    }
    return false;
}

namespace {

std::string WrittenOut(std::string_view bytes, bool (*is_shown)(char32_t character)) {
    std::string safe;
    char written[16];
    while (!bytes.empty()) {
        const std::string_view before = bytes;
        char32_t character = 0;
        if (!CharacterTake(&bytes, &character)) {
            snprintf(written, sizeof written, "\\x%02X",
                     static_cast<unsigned>(static_cast<unsigned char>(bytes[0])));
            bytes.remove_prefix(1);
            safe += written;
        } else if (character == '\\') {
            safe += "\\\\";
        } else if (is_shown(character)) {
            safe += before.substr(0, before.size() - bytes.size());
        } else {
            snprintf(written, sizeof written, character < kFirstUnicode ? "\\x%02X" : "\\u{%04X}",
                     static_cast<unsigned>(character));
            safe += written;
        }
    }
    return safe;
}

} // namespace

std::string SafeText(std::string_view bytes) {
    return WrittenOut(bytes, IsShownOnTerminal);
}

std::string SafePageText(std::string_view bytes) {
    return WrittenOut(bytes, IsShownOnPage);
}

size_t DisplayWidth(std::string_view safe) {
    size_t width = 0;
    for (char32_t character = 0; CharacterTake(&safe, &character);)
        width += character < kFirstUnicode
                     ? 1
                     : static_cast<size_t>(std::max(wcwidth(static_cast<wchar_t>(character)), 0));
    return width;
}

std::string DisplayCut(std::string_view safe, size_t columns) {
    if (columns == 0)
        return {};
    if (DisplayWidth(safe) <= columns)
        return std::string(safe);
    std::string_view rest = safe;
    size_t width = 0;
    size_t kept = 0;
    for (char32_t character = 0; CharacterTake(&rest, &character);) {
        width += character < kFirstUnicode
                     ? 1
                     : static_cast<size_t>(std::max(wcwidth(static_cast<wchar_t>(character)), 0));
        if (width > columns - 1)
            break;
        kept = safe.size() - rest.size();
    }
    return std::string(safe.substr(0, kept)) + (unicode_terminal ? "…" : "~");
}
