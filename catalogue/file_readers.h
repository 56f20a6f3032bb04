// SPDX-License-Identifier: GPL-2.0-or-later
//
// The readers that media files are handed to under the rule set `complete`. They are started with the first file of a run,
// and end with it.
#pragma once

#include <sys/stat.h>

#include <limits>
#include <string>
#include <vector>

#include "catalogue/folder_cover.h"
#include "catalogue/known_files.h"
#include "reader/pool/reader_pool.h"

// What came of a file.
struct FileReport {
    int error = 0;                       // why it could not be opened; EINVAL: it is no regular file
    struct stat status = {};             // of the file that was read; all zero when it could not be looked at
    time_t looked = 0;                   // when it was
    std::string beside;                  // what its stamp says of files beside it
    std::vector<std::string> companions; // those that were taken with it
    std::vector<std::string> subtitle_languages; // codes, as its subtitles' names say; none of one unchanged
    std::vector<std::string> subtitles;          // those that belong to it
    FolderCoverRef folder_cover; // what may be its cover when it has none in itself; null: nothing
    bool beside_unseen = false;  // of these there may be more, which could not be looked at
    KnownFile known; // of one that is unchanged, but for its neighbours, or in trouble, nothing is read
    ReadResult read;
};

// How a file is handed over.
struct ReaderUse {
    ReaderKind first = ReaderKind::sound_and_photos; // tried first
    bool sidecars = false;                           // with those that lie beside it
    bool companions = false;                         // others beside it may have been taken with it
    bool subtitles = false;                          // those beside it belong to it
    bool folder_cover = false; // it has the cover of its directory, unless one of its own
};

// In place of a file's ticket: it is unchanged, and its row stays as it is.
inline constexpr ReadTicket kUnchangedTicket = std::numeric_limits<ReadTicket>::max();

// Hands a file over before its turn. Its ticket is to be given up behind its turn. A file that is unchanged, or
// known to be in trouble, is not opened.
ReadTicket FileHandOver(const char *path, const ReaderUse &use);
void FileGiveUp(ReadTicket ticket);

// True when what came of it is there.
[[nodiscard]] bool FileIsRead(ReadTicket ticket);

// True when no more files are to be handed over ahead.
[[nodiscard]] bool FilesAheadFull();

// Serves the readers. With `wait` it waits for one of them, and lets other writers at the store meanwhile.
void FileReadersServe(bool wait);

// Takes what came of a file, of the one that was handed over ahead if that was done; waits for it.
FileReport FileReadTake(const char *path, const ReaderUse &use);

// Returns the paths of the files beside one, be it there or not, that were taken with it (catalogue/companions); those that cannot
// be seen at the moment are missing.
std::vector<std::string> FileCompanions(const char *path);

// Where the readers of each kind are, and what they may take. Tests have their own; null: beside the modules.
extern const char *reader_programs[kReaderKinds];
extern ReaderBounds reader_bounds;

// False for a file that has no row for certain. Its directory is asked about as a whole.
[[nodiscard]] bool FileMayBeKnown(const char *path);

// What the catalogue is believed of files that look unchanged. That they have their covers is not, where the disk may have lost
// what was written last: it may have a row and not yet the cover.
enum class FileTrust { all, all_but_covers, nothing };

// Holds until the scope ends; then all is believed again.
struct FileTrustScope {
    explicit FileTrustScope(FileTrust trust);
    FileTrustScope(const FileTrustScope &) = delete;
    FileTrustScope &operator=(const FileTrustScope &) = delete;
    ~FileTrustScope();
};

// To be called at the end of a walk: what it has learnt of the catalogue and of directories is forgotten.
void FilesKnownForget();

// Ends all readers and gives all files up.
void FileReadersEnd();

// Takes leave of readers that were not gone when they had been ended.
void FileReadersReap();
