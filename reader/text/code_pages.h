// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text in single bytes as UTF-8. The C library loads a converter from a file when it is opened, so that all are opened before the
// reader is confined.
#pragma once

#include <string>
#include <string_view>

// Opens a converter for each character set that can be asked for (reader/protocol/charset.h).
void CodePagesOpen();

// Returns text as a character set has it ("CP1251", "windows-1251", "SJIS"), with U+FFFD for what it does not have. Empty, or one
// that is not known: ISO-8859-1.
std::string TextOfPage(std::string_view text, std::string_view charset);

// Returns text that says nothing of its encoding: as UTF-8 when it is that, else as the character set.
std::string TextGuess(std::string_view text, std::string_view charset);
