// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reads the working copy of the queue, or another file of requests, line by line.
#pragma once

#include <stddef.h>
#include <sys/types.h>

#include <array>
#include <limits>
#include <string_view>

#include "platform/handle.h"
#include "platform/limits.h"

class QueueReader {
public:
    // Lines have at most `line_max` bytes, their newline included; a longer one comes in pieces.
    explicit QueueReader(size_t line_max = kQueueLineMax) : line_max_(line_max) {}

    // Opens a regular file; false with errno set when that is not possible.
    [[nodiscard]] bool Open(const char *path);

    // Gives the next line, with its newline if it has one; it is there until the next call. False at the end of
    // the file; a further call looks again, so that lines which a slow writer has appended in the meantime are
    // found. No memory is asked for: a machine that has none must not lose the place in its work.
    [[nodiscard]] bool Next(std::string_view *line);

    // True when the file has more to give out. Looks again at its end, as Next does.
    [[nodiscard]] bool More();

    // Where the line begins that is given out next, in bytes.
    [[nodiscard]] off_t offset() const { return behind_buffer_ - static_cast<off_t>(end_ - start_); }

    // Goes to where a line begins. Lines from there up to `end` are given out, or all that the file will ever have.
    void Seek(off_t begin, off_t end = kNoEnd);

    // The size of the file at this moment, in bytes.
    [[nodiscard]] off_t Size() const;

    // Tells whether the file still has a name, by which another run would find it.
    [[nodiscard]] bool IsNamed() const;

    // The error number of a read that failed, which ends the file early; 0 when none did.
    [[nodiscard]] int failure() const { return failure_; }

private:
    void Refill();

    // Sets the descriptor to the line that is given out next. Reading goes ahead by whole buffers, but
    // anybody who wants to know how far the daemon has come finds the place in /proc/PID/fdinfo.
    void PositionShow() const;

    // Lines are short and files may be long: one read serves hundreds of lines.
    static constexpr size_t kBufferSize = 64 * 1024;
    static_assert(kBufferSize > 2 * kQueueLineMax);

    static constexpr off_t kNoEnd = std::numeric_limits<off_t>::max();

    size_t line_max_;
    FdHandle file_;
    std::array<char, kBufferSize> buffer_;
    size_t start_ = 0; // of the bytes not yet given out
    size_t end_ = 0;
    off_t behind_buffer_ = 0; // the place in the file of `end_`
    off_t limit_ = kNoEnd;    // nothing is read from here on
    int failure_ = 0;
};
