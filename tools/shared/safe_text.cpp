// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/safe_text.h"

#include <langinfo.h>
#include <locale.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <span>

#include "platform/utf8.h"

namespace {

bool unicode_terminal = false; // by the environment
bool unicode_shown = false;    // on the output

constexpr char32_t kFirstUnicode = 0x80;

struct Range {
    char32_t first;
    char32_t last;
};

// Characters without a glyph of their own that hide or reorder others.
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

// Characters that join or vary their neighbours, as some languages are written.
constexpr Range kComposed[] = {{0x200C, 0x200D}, {0xFE00, 0xFE0F}};
constexpr char32_t kNoCharacter = 0xFFFE; // the last two of every plane

bool IsIn(std::span<const Range> ranges, char32_t character) {
    return std::any_of(ranges.begin(), ranges.end(), [=](const Range &range) {
        return character >= range.first && character <= range.last;
    });
}

bool IsShownOnTerminal(char32_t character) {
    return !IsIn(kHidden, character) &&
           (character < kFirstUnicode || (unicode_shown && wcwidth(static_cast<wchar_t>(character)) >= 0));
}

bool IsShownOnPage(char32_t character) {
    return IsIn(kComposed, character) ||
           (!IsIn(kHidden, character) && (character & kNoCharacter) != kNoCharacter);
}

} // namespace

void SafeTextPrepare(bool is_terminal) {
    setlocale(LC_CTYPE, "");
    unicode_terminal = strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    // The widths of characters are those of a locale that has them.
    unicode_shown = unicode_terminal || (!is_terminal && setlocale(LC_CTYPE, "C.UTF-8") != nullptr);
}

namespace {

// A character, or a byte of ASCII, that is not shown.
std::string CharacterWritten(char32_t character) {
    char written[16];
    snprintf(written, sizeof written, character < kFirstUnicode ? "\\x%02X" : "\\u{%04X}",
             static_cast<unsigned>(character));
    return written;
}

// A byte that belongs to no character.
std::string ByteTake(std::string_view *bytes) {
    char written[8];
    snprintf(written, sizeof written, "\\x%02X",
             static_cast<unsigned>(static_cast<unsigned char>(bytes->front())));
    bytes->remove_prefix(1);
    return written;
}

std::string WrittenOut(std::string_view bytes, bool (*is_shown)(char32_t character)) {
    std::string safe;
    while (!bytes.empty()) {
        const std::string_view before = bytes;
        char32_t character = 0;
        if (Utf8Take(&bytes, &character) != Utf8::kCharacter) {
            safe += ByteTake(&bytes);
        } else if (character == '\\') {
            safe += "\\\\";
        } else if (is_shown(character)) {
            safe += before.substr(0, before.size() - bytes.size());
        } else {
            safe += CharacterWritten(character);
        }
    }
    return safe;
}

} // namespace

std::string SafeText(std::string_view bytes) {
    return WrittenOut(bytes, IsShownOnTerminal);
}

std::string SafeTextOn(std::string_view safe, FILE *out) {
    if (unicode_terminal || isatty(fileno(out)) == 0)
        return std::string(safe);
    std::string written;
    while (!safe.empty()) {
        char32_t character = 0;
        if (Utf8Take(&safe, &character) != Utf8::kCharacter)
            written += ByteTake(&safe);
        else if (character < kFirstUnicode)
            written += static_cast<char>(character);
        else
            written += CharacterWritten(character);
    }
    return written;
}

std::string SafePageText(std::string_view bytes) {
    return WrittenOut(bytes, IsShownOnPage);
}

namespace {

size_t WidthOf(char32_t character) {
    return character < kFirstUnicode
               ? 1
               : static_cast<size_t>(std::max(wcwidth(static_cast<wchar_t>(character)), 0));
}

// Returns the characters in front that take at most so many columns.
std::string_view FrontOf(std::string_view safe, size_t columns) {
    std::string_view rest = safe;
    size_t width = 0;
    size_t kept = 0;
    for (char32_t character = 0; Utf8Take(&rest, &character) == Utf8::kCharacter;) {
        width += WidthOf(character);
        if (width > columns)
            break;
        kept = safe.size() - rest.size();
    }
    return safe.substr(0, kept);
}

const char *Ellipsis() {
    return unicode_shown ? "…" : "~";
}

} // namespace

size_t DisplayWidth(std::string_view safe) {
    size_t width = 0;
    for (char32_t character = 0; Utf8Take(&safe, &character) == Utf8::kCharacter;)
        width += WidthOf(character);
    return width;
}

std::string DisplayCut(std::string_view safe, size_t columns) {
    if (columns == 0)
        return {};
    if (DisplayWidth(safe) <= columns)
        return std::string(safe);
    return std::string(FrontOf(safe, columns - 1)) + Ellipsis();
}

std::string DisplayCutMiddle(std::string_view safe, size_t columns) {
    const size_t whole = DisplayWidth(safe);
    if (columns == 0)
        return {};
    if (whole <= columns)
        return std::string(safe);
    const size_t front = (columns - 1) / 2;
    const size_t back = columns - 1 - front;
    std::string_view end = safe.substr(FrontOf(safe, whole - back).size());
    // A character that takes two columns and lies across the edge goes; marks that stood on it take none.
    for (char32_t character = 0; DisplayWidth(end) > back;)
        static_cast<void>(Utf8Take(&end, &character));
    return std::string(FrontOf(safe, front)).append(Ellipsis()).append(end);
}
