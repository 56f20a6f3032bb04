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

    // Opens a regular file. False with errno set when that is not possible.
    [[nodiscard]] bool Open(const char *path);

    // Gives the next line, with its newline if it has one; it stays until the next call. False at the end of the file; a
    // further call looks there again, and finds what a slow writer has appended in the meantime. Asks for no memory, so
    // that a machine that has none left does not lose its place in the file.
    [[nodiscard]] bool Next(std::string_view *line);

    // Tells whether Next would give another line. Looks at the end again, as that does.
    [[nodiscard]] bool More();

    // Returns the place of the line that Next gives, in bytes.
    [[nodiscard]] off_t offset() const { return behind_buffer_ - static_cast<off_t>(end_ - start_); }

    // Goes to the begin of a line. Next then gives the lines from there up to `end`, or all that the file will ever have.
    void Seek(off_t begin, off_t end = kNoEnd);

    // Returns the size of the file at this moment, in bytes.
    [[nodiscard]] off_t Size() const;

    // Tells whether the file still has a name, by which another run would find it.
    [[nodiscard]] bool IsNamed() const;

    // Returns the error number of a read that failed, which ends the file early; 0 when none did.
    [[nodiscard]] int failure() const { return failure_; }

private:
    void Refill();

    // Sets the descriptor to the line that Next gives. Reading goes ahead by whole buffers, but /proc/PID/fdinfo shows how
    // far the daemon has come.
    void PositionShow() const;

    // Lines are short and files may be long: one read serves hundreds of lines.
    static constexpr size_t kBufferSize = 64 * 1024;
    static_assert(kBufferSize > 2 * kQueueLineMax);

    static constexpr off_t kNoEnd = std::numeric_limits<off_t>::max();

    size_t line_max_;
    FdHandle file_;
    std::array<char, kBufferSize> buffer_;
    size_t start_ = 0; // of what Next has not given yet
    size_t end_ = 0;
    off_t behind_buffer_ = 0; // the place in the file of `end_`
    off_t limit_ = kNoEnd;    // nothing is read from here on
    int failure_ = 0;
};
