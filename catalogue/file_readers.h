// SPDX-License-Identifier: GPL-2.0-or-later
//
// The readers that media files are handed to under the rule set `complete`. They are started with the first file of a run,
// and end with it.
#pragma once

#include <sys/stat.h>

#include <string>

#include "reader/pool/reader_pool.h"

// What came of a file.
struct FileReport {
    int error =
        0; // why it could not be opened: ENOENT when it is not there, EINVAL when it is no regular file
    struct stat status = {}; // of the file that was read
    ReadResult read;
};

// Hands a file over before its turn, to a reader of that kind at first. Its ticket is to be given up behind its turn.
ReadTicket FileHandOver(const char *path, ReaderKind kind);
void FileGiveUp(ReadTicket ticket);

// True when what came of it is there.
[[nodiscard]] bool FileIsRead(ReadTicket ticket);

// True when no more files are to be handed over ahead.
[[nodiscard]] bool FilesAheadFull();

// Serves the readers. With `wait` it waits for one of them, and lets other writers at the store meanwhile.
void FileReadersServe(bool wait);

// Takes what came of a file, of the one that was handed over ahead if that was done; waits for it.
FileReport FileReadTake(const char *path, ReaderKind kind);

// Where the readers of each kind are. Tests have their own; null: beside the modules.
extern const char *reader_programs[kReaderKinds];

// Ends all readers and gives all files up.
void FileReadersEnd();
