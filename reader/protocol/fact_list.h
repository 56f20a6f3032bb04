// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a reader says of one file: a flat list of facts in the order found. Text is UTF-8 without control characters at its ends.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/limits.h"
#include "reader/protocol/fact_names.h"

// Who said it.
enum class FactSource : uint8_t {
    own, // the reader itself
    taglib,
    exiv2,
    libavformat,
};

struct Fact {
    FactName name = FactName::title;
    FactSource source = FactSource::own;
    uint16_t position = 0; // among the values of that name, from 0
    double number = 0;     // of a number
    std::string text;      // of a text
};

struct FactList {
    std::vector<Fact> facts; // at most kReaderFactsMax
    size_t text_bytes = 0;   // of all of them, at most kReaderTextMax
};

// Add a value. A value that is no good is left out: an empty text, a number that is not finite (or, of a whole one,
// negative or beyond 2^53), a second one of a fact that has one value only, the same text twice, what no longer
// fits. Text is made valid UTF-8 (bad bytes become U+FFFD, a last character that was cut is left out) and ends at a NUL, blanks
// and control characters at its ends go, and it is cut to kReaderValueMax bytes at a character. Text is no value of a number
// and the other way round (checked).
// They return whether the value was added.
bool FactAddText(FactList *list, FactName name, FactSource source, std::string_view text);
bool FactAddNumber(FactList *list, FactName name, FactSource source, double number);

// Returns the first value of a name, or null.
const Fact *FactFind(const FactList &list, FactName name);

// Returns a text as FactAddText keeps it; empty: it keeps none.
std::string FactText(std::string_view text);

// Returns the word for a source: "own", "taglib", "exiv2", "libavformat".
const char *FactSourceWord(FactSource source);
