// SPDX-License-Identifier: GPL-2.0-or-later
//
// The grammar of a line key="value", byte by byte, so that neither a long line nor a long value needs memory.
#pragma once

enum class KeyState {
    indent,      // blanks before the key
    key,         // inside the key, or behind it and before the equals sign
    value_start, // blanks before the value
    bare,        // a value without quotes: to the end of the line
    quoted,      // a value in quotes: to the same quote again
    done,        // nothing more of this line matters
};

// One line, from its beginning.
struct KeyLine {
    KeyState state = KeyState::indent;
    char quote = '\0'; // that of the value
};

// What a byte turned out to be.
enum class KeyByte {
    nothing, // belongs to neither key nor value
    comment, // begins one: the line has no key
    key,     // of the key; the blanks behind it come as such, too
    equals,  // ends the key
    value,   // of the value; the blanks behind one without quotes come as such, too
    end,     // the quote that ends the value
};

// Takes the next byte of a line, which is no newline.
KeyByte KeyLineFeed(KeyLine *line, char byte);
