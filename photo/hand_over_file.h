// SPDX-License-Identifier: GPL-2.0-or-later
//
// The file of the spool of hand-overs, on the disk. It grows at its end only, and what is not wanted any more is marked in its
// place, so that a disk that is full loses nothing and brings nothing back.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "photo/hand_over_line.h"

inline constexpr char kHandOverSpool[] = "/var/spool/velu_indexing_queue.texts";

// A text that is wanted, and where its line is, in bytes.
struct HandOverPlace {
    HandOverText given;
    off_t begin;
    off_t end; // behind its newline
};

// True when there is something at the file's place.
bool HandOverFileThere();

// Brings lines to the disk, at the end of the file; `begin` becomes the place of the first one. False, with errno set and
// nothing added, when that is not possible.
[[nodiscard]] bool HandOverFileAppend(const std::string &lines, off_t *begin);

// Reads all texts that are wanted, in the order of the file, and counts the lines that are damaged. False, with errno set,
// when the file cannot be read to its end.
[[nodiscard]] bool HandOverFileRead(std::vector<HandOverPlace> *out, size_t *damaged);

// Marks lines as not wanted and, on the disk at once, takes away what is behind `end`. False, with errno set, on failure.
[[nodiscard]] bool HandOverFileDone(const std::vector<off_t> &begins, off_t end);

// Removes the file. False, with errno set, on failure.
[[nodiscard]] bool HandOverFileRemove();
