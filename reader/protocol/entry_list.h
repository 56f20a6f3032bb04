// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a playlist names, in its order. On its way it is one block of text: of each entry its text, and the bytes that it was
// written in when these are not UTF-8, each with its NUL.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

#include "platform/playlist_bounds.h"

struct EntryList {
    std::string packed; // at most kPlaylistTextMax
    size_t count = 0;   // at most kPlaylistEntriesMax
    bool cut = false;   // there are more
};

struct ListEntry {
    std::string_view text;  // UTF-8 without control characters, not empty, at most kPlaylistTargetMax
    std::string_view bytes; // as it was written, when that was in another encoding; else empty
};

// Adds an entry. Control characters become blanks, what is not UTF-8 becomes U+FFFD, and what is too long is cut at a
// character; an entry without text is left out, and so is what no longer fits.
void EntryAdd(EntryList *list, std::string_view text, std::string_view bytes);

// Takes the entry at *position, and steps behind it; false behind the last.
bool EntryNext(const EntryList &list, size_t *position, ListEntry *entry);

// Makes a list of a block; false, and the list is not to be used, when anything in it is not as EntryAdd writes it.
[[nodiscard]] bool EntriesDecode(std::string packed, EntryList *list);
