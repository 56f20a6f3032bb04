// SPDX-License-Identifier: GPL-2.0-or-later
//
// A row of values and what is known of its columns, whatever it is a row of.
#pragma once

#include <optional>
#include <string>
#include <vector>

// What a column's values are; the value itself is always the text that the database gave.
enum class Type { text, path, integer, real, boolean, bytes, seconds, lines, moment };

// A moment is written in one of the forms that the catalogues have (moment_text.h).
constexpr bool TypeIsText(Type type) {
    return type == Type::text || type == Type::path || type == Type::moment;
}

struct Column {
    const char *name;    // for programs
    const char *heading; // for people
    Type type;
};

using Value = std::optional<std::string>; // nothing: NULL
using Row = std::vector<Value>;
