// SPDX-License-Identifier: GPL-2.0-or-later
//
// Facts as JSON.
#pragma once

#include <stdio.h>

#include <string>

#include "reader/protocol/fact_list.h"

inline void TextPrint(const std::string &text) {
    putchar('"');
    for (const char character : text) {
        if (character == '"' || character == '\\')
            printf("\\%c", character);
        else if (static_cast<unsigned char>(character) < 0x20)
            printf("\\u%04x", character);
        else
            putchar(character);
    }
    putchar('"');
}

inline void FactPrint(const Fact &fact) {
    if (FactKindOf(fact.name).type == FactType::text)
        TextPrint(fact.text);
    else
        printf("%.10g", fact.number);
}

// Prints each name with the list of its values, each behind a comma.
inline void FactsPrint(const FactList &facts) {
    for (const FactKind &kind : kFacts) {
        const char *before = "[";
        for (const Fact &fact : facts.facts) {
            if (fact.name != kind.name)
                continue;
            if (*before == '[')
                printf(", \"%s\": ", kind.word);
            printf("%s", before);
            FactPrint(fact);
            before = ", ";
        }
        if (*before != '[')
            putchar(']');
    }
}
