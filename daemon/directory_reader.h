// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reads one directory, entry by entry in the order of the file system, and tells whether that came to its end.
#pragma once

#include <sys/types.h>

#include <string>

#include "daemon/walk_rules.h"
#include "platform/handle.h"

struct DirectoryReader {
    const NameRules *rules;            // what is left out by its name
    bool untold = false;               // the file system's listings do not tell what is a directory
    LeftOutCounts *left_out = nullptr; // where that is counted, if anywhere
    DirHandle directory = nullptr;
    off_t position = 0; // behind the entry given last, to read on when the directory is opened again
    int error = 0;      // why it could not be opened, or its listing broke off
    int missed = 0;     // why the entry that was asked for last could not be looked at, though it is there
};

// Opens the directory from its begin on. False, with `error`, on failure.
[[nodiscard]] bool DirectoryOpen(DirectoryReader *reader, const char *path);

// True when an entry of the directory says that all of it is left out, by the rules.
[[nodiscard]] bool DirectoryIsMarked(const DirectoryReader &reader);

// The same of a sub-directory of it.
[[nodiscard]] bool SubDirectoryIsMarked(const DirectoryReader &reader, const std::string &name);

// Returns the next entry whose name the rules do not leave out; never "." and "..". It is valid until the
// next call. Null behind the last; `error` is then set when the listing broke off.
const dirent *DirectoryNext(DirectoryReader *reader);

enum class EntryKind {
    file,
    directory,
    linked_directory, // a link that leads to one
    other,            // neither, or it could not be looked at
};

// Returns what the entry given last is. Where the directory's listing says it, the entry itself is not looked
// at; a link is what it leads to.
EntryKind EntryKindGet(DirectoryReader *reader, const dirent &entry);

// Returns what a path leads to.
EntryKind PathKindGet(const char *path);
