// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text for the statements on the photo catalogue.
#pragma once

#include <stddef.h>

#include <string>

// A name as it stands between the quotes of a literal, and of a LIKE pattern.
struct SqlName {
    std::string literal;
    std::string pattern;
};

// Escapes a name both ways. False, logged under `log_name`, when that fails.
[[nodiscard]] bool SqlNameEscape(const char *name, SqlName *out, const char *log_name,
                                 int line = __builtin_LINE());

// Formats a statement or condition as if into a buffer of `size` bytes: what is longer is cut, and its database refuses
// it for want of a closing quote, so that it counts as a statement that failed.
std::string SqlFormat(size_t size, const char *format, ...) __attribute__((format(printf, 2, 3)));
