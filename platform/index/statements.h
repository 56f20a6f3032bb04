// SPDX-License-Identifier: GPL-2.0-or-later
//
// The statements that the store prepares. Each has a number, the same in every run and program: connections
// keep by it what they have prepared, and batches what may have to be written again.
#pragma once

#include <stddef.h>

#include <string>

// What the statements do, with the values that each takes. `from` and `before` are the range of the keys
// under a path.
enum class StoreOperation : int {
    saveRow,       // of a media table or `directory`: its columns, the path first
    removeRow,     // path
    removeTree,    // path, from, before
    saveCover,     // of a media table: whether it has one, path
    coverOfRow,    // path: the path of the row, when it has a cover
    coversInRange, // from, before: the paths of rows with covers, kCoverRows at a time
    coversFrom,    // from: likewise
    pathsInRange,  // from, before, how many: of a table of the photo catalogue
    rowsOfPath,    // path: kind, size, time of change and cover of its media rows
    mediaInRange, // from, before, how many: kind (kMediaTree for `directory`) and path of media rows, in their order
    pictureOf,              // path: what a media row has of a picture, by the names of photo_image
    picturesInRange,        // from, before, how many: path and that of media rows
    libraryPicturesInRange, // likewise of photo_image
    keepPhotos,             // path, from, before
    markPhotos,             // path: kMarkedAtOnce of them, or null
    savePhoto,     // the columns of photo_image, the path first; title and description handed over, else null
    displacePhoto, // path that is to be free, path that is to move there
    renamePhoto,   // new path, name, album, the titles by default of the old and the new name, old path
    renamePhotos,  // old path, new path, name, album: kRenamedAtOnce of them
    photoInTree,   // path, from, before
    markVideo,     // path
    reserveAlbum,  // id: an album that has nothing else, unless one has it
    releaseAlbum,  // id: of an album that has nothing else
    // Of the tables about files.
    saveState,     // path, stamp, added, trouble, folded name: a state that is there keeps when it was added
    saveTrouble,   // path, stamp, trouble: of a state that is there
    removeFacts,   // path
    removeFactsOf, // path, name
    saveFacts,     // path; name, position, value, folded value or null: kFactsAtOnce of them, or null
    saveFewFacts,  // likewise kFewFacts of them
    addFactName,   // name
    removeEntries, // path
    saveEntries, // path; position, target, written or null, found, folded name or null: kEntriesAtOnce of them, or null
    factsOf,       // path, name
    stateOf,       // path
    statesInRange, // from, before, how many: path, stamp and trouble
    copyStates,    // new path, old path, old path, from, before: when they were added goes to new paths
    displaceMedia, // of a media table: new path, old path, old path, from, before: what is in the way of a tree that moves
    displaceOwn, // likewise, of any table: what is in the way of its own rows
    moveRows,    // likewise: the rows of the tree itself, of any table
    moveMediaFile, // of a media table: new path, old and new title, old and new album, time of status or null, old path
    renameMediaAlbum,   // of a media table: new album, from, before, old album, the directory with its slash
    stampState,         // path, stamp
    removeLostStates,   // those of files without a row
    removeLostStatesIn, // path, from, before: the same of a tree
    rowsWithoutState,   // of a media table: path behind which, how many
    addStates,          // path, added: kStatesAtOnce of them, or null
    filesFrom,          // id behind which, how many: id, path and folded name of states, in the order of ids
    filesUnfolded,      // likewise: id and path of those without a folded name
    foldNames,          // id, folded name: kFoldedAtOnce of them, or null
    factsOfFiles,       // id behind which, last id: the facts of files
    foldFacts,          // file, name, position, folded value or null: kFoldedAtOnce of them, or null
    unresolveEntries,   // id behind which, last id: entries of files
    claimEntries, // folded name, file, position behind which, how many: nobody else writes the next entries
    unresolvedEntries, // likewise: the next entries with their playlist's path, in the order of these three
    filesNamed,        // folded name: kNamesAtOnce of them, or null; how many: their paths and folded names
    resolveEntries,    // file, position, found, folded name: kEntriesAtOnce of them, or null
};

// Rows with covers are looked up in portions, so that a library of any size needs the same memory.
inline constexpr int kCoverRows = 200;

// A server takes as long to answer a statement about so many rows as one about a few.
inline constexpr size_t kRenamedAtOnce = 50;

// As many pictures as most directories have.
inline constexpr size_t kMarkedAtOnce = 200;

// The values of a list's element and how many of them go in one statement: most files have some twenty facts.
inline constexpr size_t kFactColumns = 4;
inline constexpr size_t kFactsAtOnce = 24;

// Most songs have no more, and what fills up the other statement costs them as much as an index does.
inline constexpr size_t kFewFacts = 8;
inline constexpr size_t kEntryColumns = 5;
inline constexpr size_t kResolvedColumns = 4;
inline constexpr size_t kEntriesAtOnce = 50;
inline constexpr size_t kNamesAtOnce = 50;
inline constexpr size_t kStatesAtOnce = 50;
inline constexpr size_t kFoldNameColumns = 2;
inline constexpr size_t kFoldFactColumns = 4;
inline constexpr size_t kFoldedAtOnce = 50;

// Returns the number of an operation on a table, which is one of the catalogues'. The operations on photos
// and videos have their table in their name.
int StatementOf(StoreOperation operation, const char *table);
int StatementOf(StoreOperation operation);

std::string StatementText(int statement);
