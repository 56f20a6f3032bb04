// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files of key="value" lines. They are read byte by byte through a small state machine, so that neither a
// long line nor a long value needs memory or spoils the lines after it.
#include "platform/sdk/ascii.h"
#include "platform/sdk/bounded_text.h"
#include "platform/sdk/line_reader.h"
#include "platform/velusdk.h"

#include <memory>
#include <new>

namespace {

enum class KeyState {
    kIndent,     // blanks before the key
    kKey,        // inside the key
    kEquals,     // behind the key, before the equals sign
    kValueStart, // blanks before the value
    kBare,       // a value without quotes: to the end of the line
    kQuoted,     // a value in quotes: to the same quote again
    kDone,       // nothing more of this line matters
};

struct KeySearch {
    std::string_view key;
    BoundedText value;
    KeyState state = KeyState::kIndent;
    size_t matched = 0; // bytes of the key
    char quote = '\0';
    bool found = false;
    // The value without the blanks at its end: its length in the buffer, and whether that is all of it.
    size_t solid_length = 0;
    bool complete = true;
};

void BeginLine(KeySearch *search) {
    search->state = KeyState::kIndent;
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

void FeedKey(KeySearch *search, char byte) {
    if (byte != search->key[search->matched])
        search->state = KeyState::kDone;
    else if (++search->matched == search->key.size())
        search->state = KeyState::kEquals;
    else
        search->state = KeyState::kKey;
}

void FeedByte(KeySearch *search, char byte) {
    switch (search->state) {
    case KeyState::kIndent:
        if (byte == '#')
            search->state = KeyState::kDone;
        else if (!IsSpace(byte))
            FeedKey(search, byte);
        break;
    case KeyState::kKey:
        FeedKey(search, byte);
        break;
    case KeyState::kEquals:
        search->found = byte == '=';
        if (search->found)
            search->state = KeyState::kValueStart;
        else if (!IsSpace(byte))
            search->state = KeyState::kDone;
        break;
    case KeyState::kValueStart:
        if (byte == '"' || byte == '\'') {
            search->quote = byte;
            search->state = KeyState::kQuoted;
        } else if (!IsSpace(byte)) {
            search->state = KeyState::kBare;
            FeedValue(search, byte);
        }
        break;
    case KeyState::kBare:
        FeedValue(search, byte);
        break;
    case KeyState::kQuoted:
        if (byte == search->quote) {
            KeepAllOfValue(search);
            search->state = KeyState::kDone;
        } else {
            FeedValue(search, byte);
        }
        break;
    case KeyState::kDone:
        break;
    }
}

// Feeds the lines of `file` up to the first one with the key. Returns 0, or -1 when there is none.
int FindKey(const char *file, KeySearch *search) {
    LineReader reader(file);
    LinePiece piece;
    while (NextLinePiece(&reader, &piece) > 0) {
        for (const char byte : piece.text) {
            if (search->state == KeyState::kDone)
                break;
            FeedByte(search, byte);
        }
        if (search->found && (piece.ends_line || search->state == KeyState::kDone)) {
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
