// SPDX-License-Identifier: GPL-2.0-or-later
//
// Why a path is in the catalogue, or why not. The rules of the daemon say so themselves: its own functions decide.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/tree_cursor.h"
#include "daemon/walk_rules.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/record_print.h"

// What keeps a path out of the catalogue. The words never change their meaning: programs go by them.
struct Reason {
    const char *word = "";
    std::string text = {};    // the end of a sentence for people
    std::string command = {}; // that changes it, safe for a terminal; empty: none does by itself
    std::string file = {};    // of patterns, or a mark, that says so
    size_t line = 0;          // of that file, the first is 1
};

// A name within a sentence.
std::string Named(std::string_view name);

// The command that asks for a path and shows what comes of it.
std::string AddCommandLine(const std::string &path);

// What the rules say against a path: by its names from its share down, and by what directories on the way hold; and against a file by
// its own name. Nothing when they say nothing.
std::optional<Reason> ReasonOfWalk(const std::string &path, bool is_directory);
std::optional<Reason> ReasonOfName(const std::string &path);

// What the disk and all rules say against it; nothing when they say nothing.
std::optional<Reason> ReasonOfRules(CatalogueReader *reader, const std::string &path);

// The request that a path waits for, that the watcher is about to ask for it, or that nobody has.
Reason ReasonOfRequests(CatalogueReader *reader, const std::string &path);

// The one of these that counts.
Reason ReasonOf(CatalogueReader *reader, const std::string &path);

// The words of two reasons: a file is not there; it has a row by its name alone.
inline constexpr char kGoneWord[] = "gone";
inline constexpr char kTroubleWord[] = "trouble";

// Of the field that holds what the catalogue knows the file by.
inline constexpr char kStampName[] = "stamp";

// What the catalogue has of a path.
struct Catalogued {
    std::vector<const char *> kinds = {}; // of the tables that have it
    RecordPart part = {};                 // what is to be said of it
    std::optional<Reason> against = {};   // what would keep it out by now, or kept its file from being read
};

// False, with the reason in the reader, when the catalogue cannot be read.
[[nodiscard]] bool CataloguedRead(CatalogueReader *reader, const std::string &path, Catalogued *found);

// What lies below a directory.
struct Below {
    int64_t catalogued = 0; // files
    int64_t in_trouble = 0; // of these, with a row by their names alone
    int64_t found = 0;      // files on the disk that the rules have indexed
    int64_t unread = 0;     // directories that could not be read
    LeftOutCounts left_out = {};
};

// Why what a walk has met, which is no directory, is left out when its name says nothing against it.
LeftOut EntryLeftOut(const TreeCursor &cursor);

// The number of files below a directory that could not be read; -1, with the reason in the reader, when that cannot be told.
[[nodiscard]] int64_t TroubledBelow(CatalogueReader *reader, const std::string &directory);

// False likewise.
[[nodiscard]] bool BelowRead(CatalogueReader *reader, const std::string &path, Below *below);

// Says of each path that is not in the catalogue, or could not be read, why, and of a directory how many files below it could not. Returns how many there are; -1, with the reason in the
// reader, when that cannot be told.
long long NotCataloguedTell(CatalogueReader *reader, const std::vector<std::string> &paths);
