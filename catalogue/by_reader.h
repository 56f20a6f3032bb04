// SPDX-License-Identifier: GPL-2.0-or-later
//
// How a media file becomes a row under the rule set `complete`: a reader says what is in it, whatever its name promises.
#pragma once

#include "catalogue/media_info.h"
#include "reader/protocol/message.h"

// What the kinds of files differ in.
struct ByReader {
    ReaderKind first;         // that the name leads to
    bool unread_fails = true; // false: a file that cannot be read is no failure
};

// Saves the row of a file that has been or is now handed to a reader, with its cover: in the table of what its content is, or
// of `named` where that cannot be told. One that cannot be read costs a line with the reason; it gets a row by its name, unless
// it has one that is as old as the file. Returns 0 when there is a row, kSavedUnread when its file could not be read, -1 when
// there is none.
int ByReaderAdd(const ByReader &by, MediaKind named, const char *path);

inline constexpr int kSavedUnread = 2;
