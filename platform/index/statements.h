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
    coverOfRow,    // path: the path of the row, when it has a cover
    coversInRange, // from, before: the paths of rows with covers, kCoverRows at a time
    coversFrom,    // from: likewise
    pathsInRange,  // from, before, how many: of a table of the photo catalogue
    mediaInRange, // from, before, how many: kind (kMediaTree for `directory`) and path of media rows, in their order
    keepPhotos,    // path, from, before
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
    removeFacts,   // path
    saveFacts,     // path; name, position, value, folded value or null: kFactsAtOnce of them, or null
    addFactName,   // name
    removeEntries, // path
    saveEntries,   // path; position, target, found, folded name: kEntriesAtOnce of them, or null
    stateOf,       // path
    statesInRange, // from, before, how many: path, stamp and trouble
    copyStates,    // new path, old path, old path, from, before: when they were added goes to new paths
    removeLostStates,   // those of files without a row
    removeLostStatesIn, // path, from, before: the same of a tree
    rowsWithoutState,   // of a media table: path behind which, how many
    addStates,          // path, added: kStatesAtOnce of them, or null
};

// Rows with covers are looked up in portions, so that a library of any size needs the same memory.
inline constexpr int kCoverRows = 200;

// A server takes as long to answer a statement about so many rows as one about a few.
inline constexpr size_t kRenamedAtOnce = 50;

// The values of a list's element and how many of them go in one statement: most files have some twenty facts.
inline constexpr size_t kFactColumns = 4;
inline constexpr size_t kFactsAtOnce = 24;
inline constexpr size_t kEntryColumns = 4;
inline constexpr size_t kEntriesAtOnce = 50;
inline constexpr size_t kStatesAtOnce = 50;

// Returns the number of an operation on a table, which is one of the catalogues'. The operations on photos
// and videos have their table in their name.
int StatementOf(StoreOperation operation, const char *table);
int StatementOf(StoreOperation operation);

std::string StatementText(int statement);
