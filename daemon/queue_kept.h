// SPDX-License-Identifier: GPL-2.0-or-later
//
// The kept file: requests that could not be stored, in the order in which they were asked. A line is the request's age
// in whole seconds of the daemon's running time, a blank, and the request as it was written.
//
//     86400 a:/volume1/music/Album/song.mp3
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

#include "daemon/queue_files.h"
#include "daemon/queue_hash.h"
#include "daemon/queue_reader.h"
#include "platform/handle.h"

// The clock by which the lines grow old: the daemon's running time in milliseconds.
extern int64_t (*kept_clock)();

struct KeptLine {
    int64_t seconds = 0;
    std::string_view line; // without its newline; there until the next call
};

class KeptReader {
public:
    // Opens the file. False with errno set when that is not possible; ENOENT when nothing is kept.
    [[nodiscard]] bool Open();

    // Gives the next line. False behind the last one.
    [[nodiscard]] bool Next(KeptLine *kept);

    // Goes back to the first line.
    void Rewind();

    // Returns how many lines were no requests, and stepped over, since the first one.
    [[nodiscard]] size_t damaged() const { return damaged_; }

    // Returns the error number of a read that failed, which ends the file early; 0 when none did.
    [[nodiscard]] int failure() const { return reader_.failure(); }

private:
    static constexpr size_t kAgeMax = 20; // bytes of the largest number and the blank behind it

    QueueReader reader_{kAgeMax + kQueueLineMax};
    size_t damaged_ = 0;
};

// Writes the kept file anew, beside the old one, which stays until Commit. A failure is remembered until then, and without
// a Commit nothing is left.
class KeptWriter {
public:
    KeptWriter();
    KeptWriter(const KeptWriter &) = delete;
    KeptWriter &operator=(const KeptWriter &) = delete;
    ~KeptWriter();

    // Returns by how many whole seconds the lines of the old file have aged since it was written.
    [[nodiscard]] int64_t elapsed() const { return elapsed_; }

    // Adds a line at the end. Of equal lines the first stays, unless a rename stands between them, behind which the same
    // line means another file. An emptied table makes all lines before it different from those behind it, and is itself
    // equal only to the line before it.
    void Add(int64_t seconds, std::string_view line);

    // Puts the new file in the place of the old, on the disk; without lines there is none. False with errno set when that,
    // or an Add before it, has failed: then the lines are not safe, and the old file may still be there.
    [[nodiscard]] bool Commit();

    // Returns how many lines were added, those included that could not be written.
    [[nodiscard]] size_t count() const { return count_; }

private:
    void Open();
    void Flush();
    void Fail();
    void Discard();
    bool IsAt(uint64_t offset, std::string_view line);
    bool IsRepeated(std::string_view line, uint64_t hash);

    int64_t elapsed_;
    FdHandle file_;
    int error_ = 0;
    size_t count_ = 0;
    std::string buffer_;
    uint64_t written_ = 0;  // bytes before the buffer's
    QueueHashTable places_; // of the lines, behind the last that sets apart; offsets from 1
    std::string last_;
};
