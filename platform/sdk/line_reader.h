// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reads the lines of a text file in fixed memory: a line comes in pieces, so that its length has no bound.
#pragma once

#include "platform/file.h"

#include <stddef.h>
#include <sys/types.h>

#include <array>
#include <string_view>

// Some consecutive bytes of one line, without its newline. They stay valid until the next piece is read.
struct LinePiece {
    std::string_view text;
    bool ends_line = false;
};

struct LineReader {
    explicit LineReader(const char *file) : fd(OpenForReading(file)) {}

    // Large enough to make the system calls cheap, small enough for the stack.
    static constexpr size_t kBlockSize = 16 * 1024;

    FdHandle fd;
    std::array<char, kBlockSize> block;
    std::string_view rest; // of the block
    bool in_line = false;  // the last piece did not end its line
};

// Reads the next piece. Returns 1 when there is one, 0 at the end of the file, -1 when the file cannot be
// opened or read. A last line without a newline ends with a piece that may be empty.
int NextLinePiece(LineReader *reader, LinePiece *piece);
