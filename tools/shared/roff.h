// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text for manual pages.
#pragma once

#include <string>
#include <string_view>

// Returns the text with everything escaped that the formatter would take for a request, a hyphenation point
// or an escape.
std::string RoffText(std::string_view text);

// Returns an entry of a list: what is described, in the formatter's own words, and the plain text about it.
std::string RoffEntry(std::string_view head, std::string_view text);
