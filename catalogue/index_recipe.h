// SPDX-License-Identifier: GPL-2.0-or-later
//
// How a media file becomes a row of the catalogue: one way for all kinds of files. What the kinds differ in
// is data: the rows that stand side by side in catalogue/indexers.cpp.
#pragma once

#include "catalogue/by_reader.h"
#include "catalogue/media_info.h"

// What a record has before its reader sees it, beside path and size.
enum class BasicFields {
    none,
    title,
    title_and_album,
    common, // all that MediaInfoFillBasic gives, which logs in its own name
};

// What is done to a record that its reader has seen.
enum class AfterReading {
    nothing, // the record is saved as it is, or the reader has done the rest itself
    times,
    valid,                     // MediaInfoValid
    times_valid_then_defaults, // defaults from names come last, as the file system has them
};

// The shape of the lines about a bad parameter and a failed save: "music.c (12) ..." or "media.c:12 ...".
enum class LogShape { brackets, colon };

// What the line about a failed save calls the row. The words with the path have the shape `colon`.
enum class SaveWords { media_info, media_info_and_path, playlist_info };

// Adds what a file holds to a record. Returns 0, 1 when the metadata could not be read (the record is saved all
// the same), or -1 when there is nothing to save. Failures are logged, in the words of the kind.
using IndexReader = int (*)(const char *path, MediaInfo *record);

struct IndexRecipe {
    const char *log_name = nullptr; // the module's
    const char *remove_log_name = nullptr;
    MediaKind kind = kMediaMusic; // whose table it is
    LogShape shape = LogShape::brackets;
    bool leaves_empty_path = false;     // MediaInfoFillBasic sees and logs an empty path, not the recipe
    bool leaves_out_attributes = false; // a path with "@eaDir" gets no row and is no failure
    BasicFields before = BasicFields::none;
    IndexReader read = nullptr; // null: nothing is read
    AfterReading after = AfterReading::nothing;
    void (*second_read)(const char *path, MediaInfo *record) = nullptr; // of the finished record, if at all
    SaveWords save_words = SaveWords::media_info;
    bool failed_save_fails = true; // false: it is logged and leaves the result as it is
    const ByReader *complete =
        nullptr; // under the rule set `complete`, instead of all that; null: as under the other
};

// Fills a record up to its second reader. Returns 0, 1 when the metadata could not be read, or -1 for a missing
// argument (logged) or a path that is no existing file (silent).
int IndexRecipeFill(const IndexRecipe &recipe, const char *path, MediaInfo *record);

// Fills a record with all that would be saved. Returns what IndexRecipeFill does.
int IndexRecipeRecord(const IndexRecipe &recipe, const char *path, MediaInfo *record);

// Returns how a file is handed to a reader; null when it is not.
const ByReader *IndexRecipeReader(const IndexRecipe &recipe, const char *path);

// Fills a record and saves it. Returns 0 when the row was saved, 1 when it was saved although the file's metadata
// could not be read, kSavedUnread when a line has said so, -1 when nothing was saved; a reader's failure is not hidden by that
// of the save.
int IndexRecipeAdd(const IndexRecipe &recipe, const char *path);

// Removes the row of a file; the row of one that is still there stays. Returns 0 or, logged, -1.
int IndexRecipeRemove(const IndexRecipe &recipe, const char *path);

// Removes the rows that a path has, of whatever kind. Returns 0, also when there is none, or -1.
int IndexRowsRemove(const char *path);
