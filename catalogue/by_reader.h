// SPDX-License-Identifier: GPL-2.0-or-later
//
// How a media file becomes a row under the rule set `complete`: a reader says what is in it, whatever its name promises.
#pragma once

#include "catalogue/file_readers.h"
#include "catalogue/media_info.h"

// What the kinds of files differ in.
struct ByReader {
    ReaderUse use;            // that the name leads to
    bool unread_fails = true; // false: a file that cannot be read is no failure
};

// Saves the row of a file that has been or is now handed to a reader, with its cover: in the table of what its content is, or
// of `named` where that cannot be told; in the tables of other kinds it has none from then on. One that cannot be read costs a
// line with the reason; it gets a row by its name, unless it has one that is as old as the file, which stays as it is. One that
// has not changed since it was read is not read again; one that changes while it is read is read once more. One that is known to be in trouble is not tried, costs no line and keeps its row. Returns 0 when there is a row, kSavedUnread when its file could not be read, -1 when
// there is none.
int ByReaderAdd(const ByReader &by, MediaKind named, const char *path);

inline constexpr int kSavedUnread = 2;
