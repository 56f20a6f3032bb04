// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/code_pages.h"

#include <errno.h>
#include <iconv.h>

#include <array>
#include <iterator>
#include <span>

namespace {

// What locales and operating systems have had, by the C library's names; `other` is a second name in use.
struct CodePage {
    const char *name;
    const char *other = nullptr;
};

constexpr CodePage kCodePages[] = {
    {"CP1250", "WINDOWS1250"},
    {"CP1251", "WINDOWS1251"},
    {"CP1252", "WINDOWS1252"},
    {"CP1253", "WINDOWS1253"},
    {"CP1254", "WINDOWS1254"},
    {"CP1255", "WINDOWS1255"},
    {"CP1256", "WINDOWS1256"},
    {"CP1257", "WINDOWS1257"},
    {"CP1258", "WINDOWS1258"},
    {"CP437", "IBM437"},
    {"CP850", "IBM850"},
    {"CP852", "IBM852"},
    {"CP866", "IBM866"},
    {"CP874", "WINDOWS874"},
    {"CP932", "WINDOWS31J"},
    {"CP949", "UHC"},
    {"BIG5", "CP950"},
    {"BIG5-HKSCS"},
    {"GBK", "CP936"},
    {"GB18030"},
    {"GB2312", "EUCCN"},
    {"SHIFT_JIS", "SJIS"},
    {"EUC-JP"},
    {"EUC-KR"},
    {"EUC-TW"},
    {"KOI8-R"},
    {"KOI8-U"},
    {"TIS-620"},
    {"VISCII"},
    {"MACINTOSH", "MACROMAN"},
    {"ISO-8859-2", "LATIN2"},
    {"ISO-8859-3", "LATIN3"},
    {"ISO-8859-4", "LATIN4"},
    {"ISO-8859-5"},
    {"ISO-8859-6"},
    {"ISO-8859-7"},
    {"ISO-8859-8"},
    {"ISO-8859-9", "LATIN5"},
    {"ISO-8859-10", "LATIN6"},
    {"ISO-8859-11"},
    {"ISO-8859-13", "LATIN7"},
    {"ISO-8859-14", "LATIN8"},
    {"ISO-8859-15", "LATIN9"},
    {"ISO-8859-16", "LATIN10"},
};

struct OpenPage {
    const CodePage *page;
    iconv_t converter;
};

// Kept to the end of the program, without a destructor: closing one would unload its file.
std::array<OpenPage, std::size(kCodePages)> page_room;
size_t pages_open = 0;

std::span<const OpenPage> OpenPages() {
    return std::span(page_room).first(pages_open);
}

// "iso_8859-2" and "ISO8859-2" are the same.
std::string Simplified(std::string_view name) {
    std::string simple;
    for (const char character : name) {
        if (character >= 'a' && character <= 'z')
            simple.push_back(static_cast<char>(character - 'a' + 'A'));
        else if (character != '-' && character != '_' && character != ' ')
            simple.push_back(character);
    }
    return simple;
}

iconv_t ConverterOf(std::string_view code_page) {
    const std::string wanted = Simplified(code_page);
    for (const OpenPage &open : OpenPages()) {
        if (Simplified(open.page->name) == wanted ||
            (open.page->other != nullptr && open.page->other == wanted))
            return open.converter;
    }
    return reinterpret_cast<iconv_t>(-1);
}

} // namespace

void CodePagesOpen() {
    if (pages_open != 0)
        return;
    for (const CodePage &page : kCodePages) {
        const iconv_t converter = iconv_open("UTF-8", page.name);
        if (converter != reinterpret_cast<iconv_t>(-1))
            page_room[pages_open++] = {&page, converter};
    }
}

bool CodePageConvert(Bytes text, std::string_view code_page, std::string *utf8) {
    if (code_page.empty())
        return false;
    if (Simplified(code_page) == "UTF8") {
        utf8->append(Characters(text));
        return true;
    }
    const iconv_t converter = ConverterOf(code_page);
    if (converter == reinterpret_cast<iconv_t>(-1))
        return false;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    auto *from = const_cast<char *>(Characters(text).data());
    size_t left = text.size();
    char part[512];
    while (left > 0) {
        char *to = part;
        size_t room = sizeof part;
        const size_t result = iconv(converter, &from, &left, &to, &room);
        utf8->append(part, static_cast<size_t>(to - part));
        if (result == static_cast<size_t>(-1) && errno != E2BIG) {
            utf8->append("\xEF\xBF\xBD"); // U+FFFD
            ++from;
            --left;
        }
    }
    return true;
}
