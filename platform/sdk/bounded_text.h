// SPDX-License-Identifier: GPL-2.0-or-later
//
// A caller's buffer that is filled piece by piece, never past its end, and is a C string at any time.
#pragma once

#include <stddef.h>
#include <string.h>

#include <algorithm>
#include <string_view>

struct BoundedText {
    // `size` is that of `buffer`, terminator included, and at least 1.
    BoundedText(char *buffer, size_t size) noexcept : out(buffer), capacity(size - 1) { out[0] = '\0'; }

    char *out;
    size_t capacity;   // bytes without the terminator
    size_t length = 0; // bytes in it, at most capacity
    bool cut = false;  // something did not fit
};

inline void Append(BoundedText *text, std::string_view more) {
    const size_t fits = std::min(more.size(), text->capacity - text->length);
    if (fits > 0)
        memcpy(text->out + text->length, more.data(), fits);
    text->length += fits;
    text->out[text->length] = '\0';
    text->cut = text->cut || fits < more.size();
}

inline void Append(BoundedText *text, char byte) {
    Append(text, std::string_view(&byte, 1));
}

// Takes the text back to its first `length` bytes.
inline void Shorten(BoundedText *text, size_t length) {
    text->length = length;
    text->out[length] = '\0';
}
