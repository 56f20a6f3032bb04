// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/sdk/key_line.h"

#include "platform/sdk/ascii.h"

namespace {

KeyByte Becomes(KeyLine *line, KeyState state, KeyByte byte) {
    line->state = state;
    return byte;
}

} // namespace

KeyByte KeyLineFeed(KeyLine *line, char byte) {
    switch (line->state) {
    case KeyState::indent:
        if (IsSpace(byte))
            return KeyByte::nothing;
        if (byte == '#')
            return Becomes(line, KeyState::done, KeyByte::comment);
        line->state = KeyState::key;
        [[fallthrough]];
    case KeyState::key:
        return byte == '=' ? Becomes(line, KeyState::value_start, KeyByte::equals) : KeyByte::key;
    case KeyState::value_start:
        if (IsSpace(byte))
            return KeyByte::nothing;
        if (byte == '"' || byte == '\'') {
            line->quote = byte;
            return Becomes(line, KeyState::quoted, KeyByte::nothing);
        }
        return Becomes(line, KeyState::bare, KeyByte::value);
    case KeyState::bare:
        return KeyByte::value;
    case KeyState::quoted:
        return byte == line->quote ? Becomes(line, KeyState::done, KeyByte::end) : KeyByte::value;
    case KeyState::done:
        break;
    }
    return KeyByte::nothing;
}
