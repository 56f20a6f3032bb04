// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files that get a cover before the row that says so is committed. By the rules `complete` their paths are noted beside the
// covers, COVERDIR/.noted, each behind a zero byte, so that what a kill leaves between the two is found again. Notes go when the
// batch with the rows has been committed, the file with the end of its run.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

#include "platform/handle.h"

// Their file, below the folder of all covers; hidden, as all there beside the folders of media.
inline constexpr std::string_view kCoverNotes = "/.noted";

// Notes a file that is about to get a cover in the folder of all covers, within a run. What cannot be noted has its cover all the same.
void CoverNoteAdd(const std::string &covers, const char *media_path);

// To be called when the rows of all noted files are in the batch, when that is committed, when it is not known of all of them
// what has become of them, and at the end of the run.
void CoverNotesInBatch();
void CoverNotesCommitted();
void CoverNotesKeep();
void CoverNotesEnd();

// Reads the note at `offset`, which steps behind it; false behind the last. What is longer than a path can be comes in pieces.
bool CoverNoteNext(const FdHandle &file, uint64_t *offset, std::string *media_path);
