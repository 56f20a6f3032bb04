// SPDX-License-Identifier: GPL-2.0-or-later
//
// The text of tags, in the encodings that they have, as UTF-8.
#pragma once

#include <string>

#include "reader/sound/cursor.h"

// ID3v2.4.0-structure, section 4: the byte that text begins with.
enum class TextEncoding : uint8_t { single_bytes, utf16, utf16_big, utf8 };

// Returns text in single bytes as `code_page` has it ("CP1251", "windows-1251", "SJIS"; of bytes that it does not have U+FFFD).
// Empty, or a page that is not known: ISO-8859-1.
std::string TextOfPage(Bytes text, std::string_view code_page);

// Returns text as UTF-8. UTF-16 is in the order that its mark tells, without one in that of Windows.
std::string TextDecode(Bytes text, TextEncoding encoding, std::string_view code_page);

// Returns text that says nothing of its encoding: as UTF-8 when it is that, else as the code page.
std::string TextGuess(Bytes text, std::string_view code_page);

// Takes text up to its terminator, which goes as well, or to the end.
Bytes TakeText(Cursor *cursor, TextEncoding encoding);

// UTF-16 in one order, without a mark.
std::string TextOfUtf16(Bytes text, ByteOrder order);
