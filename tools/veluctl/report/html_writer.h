// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writing HTML so that no text of a catalogue can become markup: what is put as markup is known when the program
// is compiled, everything else is escaped.
#pragma once

#include <string>
#include <string_view>

// A piece of markup that stands in the program's source.
struct Literal {
    consteval Literal(const char *markup) // NOLINT(google-explicit-constructor): it is the point
        : text(markup) {}
    const char *text;
};

class HtmlWriter {
public:
    HtmlWriter &Put(Literal markup);

    // Writes any bytes as a text or inside the quotes of an attribute; what is not to be seen is written out.
    HtmlWriter &Text(std::string_view bytes);

    // Writes a number for a drawing, to two places.
    HtmlWriter &Coordinate(double value);

    // Writes bytes in base64 (RFC 4648, section 4), for a data: URI.
    HtmlWriter &Base64(std::string_view bytes);

    [[nodiscard]] const std::string &text() const { return text_; }

private:
    std::string text_;
};
