// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text of pictures as UTF-8, whatever it was written in.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/bytes.h"

// Bytes that say nothing of their character set: UTF-8 when they are that, else `charset` (code_pages.h). They end at a NUL.
std::string TextFromBytes(std::string_view bytes, std::string_view charset);

// UTF-16, by its own mark or else in the given order. It ends at a NUL.
std::string TextFromUtf16(std::span<const uint8_t> bytes, ByteOrder order);

// The value of EXIF's UserComment: eight bytes that name the character set, and the text.
std::string TextFromUserComment(std::string_view value, ByteOrder order, std::string_view charset);

// The parts between semicolons.
std::vector<std::string> TextParts(std::string_view text);
