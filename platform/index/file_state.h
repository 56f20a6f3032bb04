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
    int position = 0;             // in the playlist, from 0
    std::string_view target;      // as written
    std::string_view found;       // the path of the file that is meant; empty: none is there
    std::string_view folded_name; // the target's last component, folded
};

struct FileFindings {
    std::string_view stamp;   // by which a look tells that the file has not changed; empty: it is read again
    std::string_view trouble; // why it could not be read; empty: it could
    std::string_view folded_name; // the last component of its path, folded
    std::span<const FileFact> facts = {};
    std::span<const FileEntry> entries = {}; // of a playlist
};

// Saves a row as MediaInfoDBSave does, and in the place of what was known of its file the findings. All of it is stored, or
// nothing of it; when the file was first catalogued stays.
int MediaInfoDBSaveFile(int kind, const MediaInfo *record, const FileFindings &findings);

struct FileState {
    std::string stamp;
    std::string trouble;
};

// The states of the files in one directory, read at once: about a hundred bytes a file. Beyond kFileStatesMax of them the
// others are looked up each for itself.
struct FileStates {
    std::string directory = {}; // without a slash at its end
    std::string texts = {};     // name, stamp, trouble of a file and of the next one, each with its NUL
    std::vector<uint32_t> offsets = {}; // of the names, in their bytewise order
    bool whole = true;                  // there are no others
};

// Reads the states of the files in a directory, not of those further below.
int FileStatesRead(const char *directory, FileStates *states);

// Gets the state of a file in that directory, by its name. Returns 1, or 0 when it has none: no media row is there; -1 when
// that cannot be told.
int FileStateGet(const FileStates &states, std::string_view name, FileState *state);

// The state of a path with its table: tells of a single file.
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
