// SPDX-License-Identifier: GPL-2.0-or-later
//
// All lines of a file of key="value" lines, for who wants to know what is wrong with it.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

struct KeyFileLine {
    size_t number = 1; // from 1
    std::string key;   // without the blanks around it; empty: the line has none
    std::string value; // as KLIBFileGetKeyValue gives it
    bool is_pair = false;
    bool open_quote = false; // the value's quote does not end
};

// Reads the lines of `file` but for empty ones and comments. Returns 0, or what errno says when the file cannot
// be opened or read to its end.
[[nodiscard]] int KeyFileLinesRead(const char *file, std::vector<KeyFileLine> *lines);
