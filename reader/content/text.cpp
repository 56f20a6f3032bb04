// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/text.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using namespace std::string_view_literals;

struct Mark {
    std::string_view text; // in any case
    ContentFormat format;
};

// What the text begins with.
constexpr Mark kBegins[] = {
    {"#EXTM3U"sv, ContentFormat::playlist},
    {"[playlist]"sv, ContentFormat::playlist},
    {"[Reference]"sv, ContentFormat::playlist},
};

// What a text that begins with "<" holds.
constexpr Mark kElements[] = {
    {"<svg"sv, ContentFormat::svg},           {":svg"sv, ContentFormat::svg},
    {"<asx"sv, ContentFormat::playlist},      {"<?wpl"sv, ContentFormat::playlist},
    {"<playlist"sv, ContentFormat::playlist}, {"<smil"sv, ContentFormat::playlist},
};

// Where a text says nothing of itself.
constexpr Mark kExtensions[] = {
    {"m3u"sv, ContentFormat::playlist},  {"m3u8"sv, ContentFormat::playlist},
    {"pls"sv, ContentFormat::playlist},  {"cue"sv, ContentFormat::playlist},
    {"wpl"sv, ContentFormat::playlist},  {"asx"sv, ContentFormat::playlist},
    {"xspf"sv, ContentFormat::playlist}, {"svg"sv, ContentFormat::svg},
};

bool BeginsWith(std::string_view text, std::string_view begin) {
    return text.size() >= begin.size() && strncasecmp(text.data(), begin.data(), begin.size()) == 0;
}

bool Holds(std::string_view text, std::string_view part) {
    for (size_t at = text.find(part[0]); at != std::string_view::npos; at = text.find(part[0], at + 1)) {
        if (BeginsWith(text.substr(at), part))
            return true;
    }
    return false;
}

using Buffer = std::array<char, kContentHead>;

// Returns text in UTF-16, by its mark, as far as it is ASCII, which goes into the buffer; other text as it is.
std::string_view NarrowText(std::string_view text, Buffer *buffer) {
    const bool big = text.starts_with("\xFE\xFF"sv);
    if (!big && !text.starts_with("\xFF\xFE"sv))
        return text;
    size_t size = 0;
    for (size_t at = 2; at + 2 <= text.size(); at += 2) {
        const char high = text[at + (big ? 0 : 1)];
        const char low = text[at + (big ? 1 : 0)];
        (*buffer)[size++] = high == '\0' ? low : '?';
    }
    return {buffer->data(), size};
}

} // namespace

ContentFormat TextLook(const ContentHead &head) {
    constexpr auto kByteOrderMark = "\xEF\xBB\xBF"sv;
    Buffer buffer;
    std::string_view text = NarrowText(HeadText(head), &buffer);
    if (text.find('\0') != std::string_view::npos)
        return ContentFormat::unknown;
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"sv), text.size()));
    for (const Mark &mark : kBegins) {
        if (BeginsWith(text, mark.text))
            return mark.format;
    }
    if (text.starts_with('<')) {
        for (const Mark &mark : kElements) {
            if (Holds(text, mark.text))
                return mark.format;
        }
    }
    for (const Mark &mark : kExtensions) {
        // A list without entries is one.
        if (head.input->extension == mark.text && (!text.empty() || mark.format == ContentFormat::playlist))
            return mark.format;
    }
    return ContentFormat::unknown;
}
