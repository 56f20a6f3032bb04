// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a library does that a file has taken over. The word for it stands in the file.
#pragma once

#include <stddef.h>

#include <span>
#include <string_view>
#include <vector>

#include "reader/input.h"

// Before the word, which ends with the file or a newline.
inline constexpr std::string_view kHostileMark = "hostile:";

// Does what the word says, in the library. Returns what a call returned (-1 with errno when it was refused): whoever comes
// back was not ended. -2 when there is no such deed.
long LibraryDeed(std::string_view word, const PictureSink &picture);

// Lies in an answer that is about to be sent, or sends another one before it.
void AnswerDeed(std::string_view word, std::vector<std::byte> *packet);

// Does nothing any more.
[[noreturn]] long Sleep();
