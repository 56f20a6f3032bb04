// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text for manual pages.
#pragma once

#include <string>
#include <string_view>

// The text with what would be a request, a hyphen of a word's end or an escape to the formatter written out.
std::string RoffText(std::string_view text);

// An entry of a list: what is described, in the formatter's own words, and the plain text about it.
std::string RoffEntry(std::string_view head, std::string_view text);
