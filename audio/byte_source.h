// SPDX-License-Identifier: GPL-2.0-or-later
//
// ByteSource: how a search over a whole file sees the reader below it. Each reader keeps its own window and
// its own rule about bytes that cannot be had; a search takes what the window holds as one piece, which is
// what makes it fast.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

// What a byte outside the file, or one that cannot be read, counts as.
inline constexpr uint8_t kUnreadByte = 17;

struct ByteSource {
    void *reader;
    int64_t size; // searches stop here; bytes behind it may still be readable

    // Returns the bytes that the window holds from `pos` on; it is moved to `pos` when it holds fewer than
    // `least`. Fewer are returned only at the file's end, none outside the file. Valid until the next call.
    std::span<const uint8_t> (*window)(void *reader, int64_t pos, size_t least);

    // Returns the first position at or after `pos` that may hold a byte other than zero: it steps over the
    // holes of a sparse file, whose size alone costs its owner nothing.
    int64_t (*next_data)(void *reader, int64_t pos);
};

// True when all bytes are zero.
bool IsAllZero(std::span<const uint8_t> bytes);

// Returns the next position for a search that has seen `bytes`, which end at `pos`: behind the hole if they
// may be the head of one.
int64_t ByteSourceAdvance(const ByteSource &source, std::span<const uint8_t> bytes, int64_t pos);

// Returns the first data position of an open file at or after `pos`, at most `end`; `pos` itself where the
// file system knows no holes.
int64_t FileNextData(int fd, int64_t pos, int64_t end);
