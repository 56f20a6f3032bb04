// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the media catalogue keeps of a file beside its row, by the rules `complete`: its state, the facts that were found in it,
// and the entries of a playlist. docs/catalogue.md describes the tables. They are there in a run that has said
// VELUIndexRunRules(RuleSet::complete). The database itself keeps them in step with the media rows, whoever writes those: a
// state comes with its file's first row and goes, with facts and entries, with its last one; a row that is saved by other
// operations than those here leaves its file without a stamp.
//
// Operations return 0, or -1 with a log line, unless said otherwise.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <time.h>

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/media_record.h"

// What is cut from these texts is cut at a character.
struct FileFact {
    std::string_view name;   // a word; whoever reads looks for it
    int position = 0;        // among the values of that name, from 0
    std::string_view value;  // UTF-8; of more than kFactValueMax bytes the rest goes
    std::string_view folded; // the value as searches fold it; of more than kFactFoldedMax bytes the rest goes
};

struct FileEntry {
    int position = 0;              // in the playlist, from 0
    std::string_view target;       // as written
    std::string_view found;        // the path of the file that is meant; empty: none is there
    std::string_view folded_name;  // the target's last component, folded; empty: it names no file
    std::string_view written = {}; // the target's bytes, when its text was in another encoding; else empty
};

struct FileFindings {
    std::string_view stamp =
        {}; // by which a look tells that the file has not changed; empty: it is read again
    std::string_view trouble = {};     // why it could not be read; empty: it could
    std::string_view folded_name = {}; // the last component of its path, folded
    std::span<const FileFact> facts = {};
    std::span<const FileEntry> entries = {}; // of a playlist
    bool first_cover =
        false; // no row says yet that the file has a cover: it goes when a row that was taken is not stored
    std::span<const int> displaced = {}; // other kinds, in whose tables the path has no row from now on
};

// Returns the last component of a path as searches fold it.
std::string FileNameFolded(std::string_view path);

// Folds the names of files whose rows other operations than those here have saved or moved. To be called at the end of a run by
// the rules `complete`; does nothing in one that has asked nothing of the media catalogue.
int FileNamesFold();

// True when the catalogue has these tables, false also when it is away.
[[nodiscard]] bool FileTablesThere();

// The same, outside of a run and without a line: a look makes neither a catalogue nor tables.
[[nodiscard]] bool FileTablesAreMade();

// Saves a row as MediaInfoDBSave does, and in the place of what was known of its file the findings. All of it is stored, or
// nothing of it; when the file was first catalogued stays.
int MediaInfoDBSaveFile(int kind, const MediaInfo *record, const FileFindings &findings);

// What becomes of a file whose row and other facts stay.
struct FileChanges {
    std::string_view stamp = {};                  // that it has by then
    std::string_view trouble = {};                // why it could not be read; empty: it could
    std::span<const std::string_view> names = {}; // whose facts give way to these
    std::span<const FileFact> facts = {};
    int cover_kind = -1; // of the row whose cover has been looked at; none has
    bool has_cover = false;
    bool first_cover = false; // as in FileFindings
};

// All of it is stored, or nothing of it; where the catalogue has these tables.
int FileChangesSave(const char *path, const FileChanges &changes);

// Reads the values of the facts that a file has of a name, in their order; none of a catalogue without these tables.
int FileFactsOf(const char *path, std::string_view name, std::vector<std::string> *values);

// A row of a file in the table of a kind.
struct FileRow {
    int kind = 0;
    uint64_t size = 0;
    std::string modify_time = {};
    bool has_cover = false;
};

// Writes a time as rows have it, as VELUIndexCTimeMTimeGet does, for whoever has looked at the file. False, and empty, when it is too
// long for the buffer.
bool VELUIndexTimeText(time_t time, char *text, size_t size);

// Reads the rows of a path, in the order of kinds.
int FileRowsOf(const char *path, std::vector<FileRow> *rows);

// Tells whether a path has a row with a cover. Returns 1, 0, or -1 on failure.
int FileHasCover(const char *path);

struct FileState {
    std::string stamp;
    std::string trouble;
};

// What is told of a file in a directory: its name, stamp and trouble. They hold until the call ends.
using FileStateTake =
    std::function<void(std::string_view name, std::string_view stamp, std::string_view trouble)>;

// Reads the states of the files in a directory, not of those further below, in the bytewise order of their names; slashes at its
// end do not count. Returns 0; 1, with none of them, when the catalogue has no states; -1 with some of them, or none.
int FileStatesRead(const char *directory, const FileStateTake &take);

// Reads the states of the next files below a directory, some hundreds, at any depth: those behind a path by the bytewise order of
// all; none behind the last, and none of a catalogue without states. Names are whole paths. The root is the empty text. Returns 0
// or -1.
int FileStatesNext(const std::string &directory, const std::string &behind, const FileStateTake &take);

// Gets the state of a path. Returns 1, or 0 when it has none: no media row is there, or the catalogue has no states; -1 when
// that cannot be told.
int FileStateOf(const char *path, FileState *state);

// While files that have moved on the disk have their rows removed at the old path and added at the new one: when they were
// first catalogued goes along. Does nothing in a catalogue without these tables.
struct FileMove {
    FileMove(const char *new_path, const char *old_path);
    FileMove(const FileMove &) = delete;
    FileMove &operator=(const FileMove &) = delete;
    ~FileMove();

    // To be called when the new rows are there.
    void Finish();
};
