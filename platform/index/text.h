// SPDX-License-Identifier: GPL-2.0-or-later
//
// The text of record fields as the catalogue keeps it: valid UTF-8 without control characters and without
// blanks at its ends.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

// Returns the text of a field of `size` bytes, which ends at its first NUL or, without one, with the field. Single-byte text
// that is UTF-8 stays, less a last character that was cut in half: by this field, when it is full, or, behind a whole one of
// several bytes, by a shorter field before; any other is ISO-8859-1. With `utf16` the field holds raw UTF-16: a byte-order mark
// (without one the result is empty), then units up to a zero unit or its end; what is no character becomes U+FFFD.
std::string CatalogueText(const char *field, size_t size, bool utf16);

// The same of single-byte text that stands in no field, such as a name in a path.
std::string CatalogueText(std::string_view bytes);

// Makes single-byte text valid in its place: what no longer fits after the conversion is cut between two
// characters, and the rest of the field is zeroed.
void CatalogueTextInPlace(char *field, size_t size);
