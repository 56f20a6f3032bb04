// SPDX-License-Identifier: GPL-2.0-or-later
//
// Elements of XML and of what passes for it: ASX has bare ampersands, end tags in another case, and attributes without quotes, at which a
// parser of XML has to stop. Nothing is nested here and no entity is looked up but those that XML has by itself, so that a
// text costs what it is long.
#pragma once

#include <string>
#include <string_view>

struct Element {
    std::string_view name;       // as written, without what stands before a colon
    std::string_view attributes; // likewise, behind the name
    std::string text;            // up to the next tag, without blanks at its ends, entities taken out
    bool ends = false;           // it is an end tag
};

// Takes the next tag, with the text behind it, off a document; false when none is left. Comments, declarations and instructions are passed over.
bool ElementTake(std::string_view *document, Element *element);

// Returns the value of an attribute, in whatever case its name is, entities taken out; empty when it has none.
std::string AttributeOf(const Element &element, std::string_view name);

// Returns the encoding that a document's first line names; empty: none.
std::string_view DocumentEncoding(std::string_view document);
