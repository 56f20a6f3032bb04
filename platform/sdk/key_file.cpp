// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files of key="value" lines: the value of one key, as far as the caller has room for it.
#include "platform/sdk/ascii.h"
#include "platform/sdk/bounded_text.h"
#include "platform/sdk/key_line.h"
#include "platform/sdk/line_reader.h"
#include "platform/velusdk.h"

#include <memory>
#include <new>

namespace {

struct KeySearch {
    std::string_view key;
    BoundedText value;
    KeyLine line = {};
    size_t matched = 0; // bytes of the key
    bool found = false;
    // The value without the blanks at its end: its length in the buffer, and whether that is all of it.
    size_t solid_length = 0;
    bool complete = true;
};

void BeginLine(KeySearch *search) {
    search->line = {};
    search->matched = 0;
}

void KeepAllOfValue(KeySearch *search) {
    search->solid_length = search->value.length;
    search->complete = !search->value.cut;
}

void FeedValue(KeySearch *search, char byte) {
    Append(&search->value, byte);
    if (!IsSpace(byte))
        KeepAllOfValue(search);
}

// Skips the rest of the line once its key is another one.
void FeedKey(KeySearch *search, char byte) {
    const bool whole = search->matched == search->key.size();
    if (whole ? IsSpace(byte) : byte == search->key[search->matched])
        search->matched += whole ? 0 : 1;
    else
        search->line.state = KeyState::done;
}

void FeedByte(KeySearch *search, char byte) {
    switch (KeyLineFeed(&search->line, byte)) {
    case KeyByte::key:
        FeedKey(search, byte);
        break;
    case KeyByte::equals:
        search->found = search->matched == search->key.size();
        if (!search->found)
            search->line.state = KeyState::done;
        break;
    case KeyByte::value:
        FeedValue(search, byte);
        break;
    case KeyByte::end:
        KeepAllOfValue(search);
        break;
    case KeyByte::comment:
    case KeyByte::nothing:
        break;
    }
}

// Feeds the lines of `file` up to the first one with the key. Returns 0, or -1 when there is none.
int FindKey(const char *file, KeySearch *search) {
    LineReader reader(file);
    LinePiece piece;
    while (NextLinePiece(&reader, &piece) > 0) {
        for (const char byte : piece.text) {
            if (search->line.state == KeyState::done)
                break;
            FeedByte(search, byte);
        }
        if (search->found && (piece.ends_line || search->line.state == KeyState::done)) {
            Shorten(&search->value, search->solid_length);
            return 0;
        }
        if (piece.ends_line)
            BeginLine(search);
    }
    Shorten(&search->value, 0);
    return -1;
}

} // namespace

int KLIBFileGetKeyValue(const char *file, const char *key, char *out, size_t size, int /*flags*/) {
    if (file == nullptr || key == nullptr || key[0] == '\0' || out == nullptr || size == 0)
        return -1;
    KeySearch search{.key = key, .value = BoundedText(out, size)};
    return FindKey(file, &search) == 0 ? static_cast<int>(search.value.length) : -1;
}

int BlVELUFileCheckKeyValue(const char *file, const char *key, const char *value) {
    if (file == nullptr || key == nullptr || key[0] == '\0' || value == nullptr)
        return 0;
    // A buffer for exactly the expected value is enough: the search knows when the real one is longer.
    const std::string_view expected(value);
    const size_t size = expected.size() + 1;
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
    if (!buffer)
        return 0;
    KeySearch search{.key = key, .value = BoundedText(buffer.get(), size)};
    if (FindKey(file, &search) != 0 || !search.complete)
        return 0;
    return std::string_view(search.value.out, search.value.length) == expected ? 1 : 0;
}
