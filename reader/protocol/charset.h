// SPDX-License-Identifier: GPL-2.0-or-later
//
// The character sets that text in single bytes may be in when it does not say so: what a request names.
#pragma once

#include <string_view>

struct Charset {
    const char *name;            // the C library's
    const char *other = nullptr; // a second one in use
};

// What is taken where none is named.
inline constexpr char kCharsetStandard[] = "ISO-8859-1";

// What locales and operating systems have had.
inline constexpr Charset kCharsets[] = {
    {kCharsetStandard, "LATIN1"},
    {"UTF-8"},
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

// Returns the one of a name, in whatever case, with or without its hyphens, low lines and blanks; null: there is none.
const Charset *CharsetFind(std::string_view name);
