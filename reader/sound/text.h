// SPDX-License-Identifier: GPL-2.0-or-later
//
// The text of tags, in the encodings that they have, as UTF-8.
#pragma once

#include <string>

#include "reader/syntax/cursor.h"
#include "reader/text/utf16.h"

// ID3v2.4.0-structure, section 4: the byte that text begins with.
enum class TextEncoding : uint8_t { single_bytes, utf16, utf16_big, utf8 };

// Returns text as UTF-8. UTF-16 is in the order that its mark tells, without one in that of Windows.
std::string TextDecode(Bytes text, TextEncoding encoding, std::string_view code_page);

// Takes text up to its terminator, which goes as well, or to the end.
Bytes TakeText(Cursor *cursor, TextEncoding encoding);
