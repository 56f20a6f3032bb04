// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/sdk/key_lines.h"

#include <errno.h>

#include "platform/sdk/ascii.h"
#include "platform/sdk/key_line.h"
#include "platform/sdk/line_reader.h"

namespace {

struct LineTaken {
    KeyFileLine line;
    KeyLine grammar;
    bool comment = false;
};

void FeedByte(LineTaken *taken, char byte) {
    switch (KeyLineFeed(&taken->grammar, byte)) {
    case KeyByte::key:
        taken->line.key += byte;
        break;
    case KeyByte::equals:
        taken->line.is_pair = !taken->line.key.empty();
        break;
    case KeyByte::value:
        taken->line.value += byte;
        break;
    case KeyByte::comment:
        taken->comment = true;
        break;
    case KeyByte::end:
    case KeyByte::nothing:
        break;
    }
}

void BlanksCutOff(std::string *text) {
    while (!text->empty() && IsSpace(text->back()))
        text->pop_back();
}

// Keeps the line unless it is empty or a comment, and begins the next one.
void LineEnd(LineTaken *taken, std::vector<KeyFileLine> *lines) {
    const KeyState state = taken->grammar.state;
    taken->line.open_quote = state == KeyState::quoted;
    BlanksCutOff(&taken->line.key);
    if (state != KeyState::done)
        BlanksCutOff(&taken->line.value);
    const size_t next = taken->line.number + 1;
    if (state != KeyState::indent && !taken->comment)
        lines->push_back(std::move(taken->line));
    *taken = {};
    taken->line.number = next;
}

} // namespace

int KeyFileLinesRead(const char *file, std::vector<KeyFileLine> *lines) {
    LineReader reader(file);
    if (!reader.fd)
        return errno;
    LineTaken taken;
    LinePiece piece;
    int found = 0;
    while ((found = NextLinePiece(&reader, &piece)) > 0) {
        for (const char byte : piece.text)
            FeedByte(&taken, byte);
        if (piece.ends_line)
            LineEnd(&taken, lines);
    }
    return found < 0 ? errno : 0;
}
