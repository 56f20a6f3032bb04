// SPDX-License-Identifier: GPL-2.0-or-later
//
// JSON out of a catalogue, where paths are bytes and JSON's texts are characters. Who puts together more than rows includes
// <nlohmann/json.hpp>, which takes seconds to compile.
#pragma once

#include <stdio.h>

#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <string_view>

#include "tools/veluctl/row.h"

using Json = nlohmann::ordered_json;

// Adds a text to an object. Bytes that are no UTF-8 become U+FFFD each, and the exact bytes then stand in
// hexadecimal beside it, under the name with "_hex" behind.
void JsonTextPut(Json *object, const std::string &name, std::string_view bytes);

// Adds a value of a row by its column's type: a number, a text, true or false, null.
void JsonValuePut(Json *object, const Column &column, const Value &value);

// Returns a row as an object, on one line.
std::string JsonRow(std::span<const Column> columns, const Row &row, bool ascii);

// Returns one line of JSON, or an indented text. With `ascii` everything above ASCII is escaped: a terminal
// must not see it raw.
std::string JsonWrite(const Json &value, bool indented, bool ascii);

// Prints a whole answer.
void JsonPrint(const Json &value, FILE *out);
