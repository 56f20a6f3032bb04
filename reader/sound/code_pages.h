// SPDX-License-Identifier: GPL-2.0-or-later
//
// Converters for the code pages that tags without a statement of their encoding are in. The C library loads one from a file when
// it is opened, so that all are opened before the reader is confined.
#pragma once

#include <string>

#include "reader/sound/cursor.h"

// Opens a converter for each page that can be asked for.
void CodePagesOpen();

// Appends the text as UTF-8, with U+FFFD for what the page does not have. Returns whether the page is known.
bool CodePageConvert(Bytes text, std::string_view code_page, std::string *utf8);
