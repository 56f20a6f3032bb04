// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/sdk/ascii.h"
#include "platform/velusdk.h"

#include <string.h>

char *StringTrim(char *text) {
    if (text == nullptr)
        return nullptr;
    const std::string_view whole(text);
    const size_t begin = whole.find_first_not_of(kWhiteSpace);
    if (begin == std::string_view::npos) {
        text[0] = '\0';
        return text;
    }
    const size_t length = whole.find_last_not_of(kWhiteSpace) + 1 - begin;
    memmove(text, text + begin, length);
    text[length] = '\0';
    return text;
}
