// SPDX-License-Identifier: GPL-2.0-or-later
//
// The catalogue summed up by the database itself: a query gives a few groups, however many rows there are.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/veluctl/catalogue_reader.h"

struct Group {
    std::string name;
    int64_t files = 0;
    double bytes = 0;
    double seconds = 0; // of playing time
};

// A group that is only counted.
struct GroupCount {
    std::string name;
    int64_t count = 0;
};

struct Tally {
    std::vector<Group> groups; // most files first, those of the same number in the order of their names
    int64_t groups_in_all = 0; // with those beyond the limit
};

// Sums of media rows, as SQL: bytes, and seconds of playing time, without what damaged files claim.
std::string BytesSum();
std::string SecondsSum();

struct TallyReader {
    CatalogueReader *reader;
    bool failed = false; // some query did, with the reason in the reader
};

// What rows are to be grouped by, and which of them. All three are SQL that both engines understand.
struct TallyQuery {
    std::string name;
    std::string table;
    std::string condition = {}; // none: all rows
    size_t limit = 0;           // 0: as many groups as a page can need
    std::string group = "1";    // by what; the name is one of the group then
};

// Sums rows up by groups, without playing times.
Tally TallyTake(TallyReader *tallies, const TallyQuery &query);

// Files of one format, and of one value of an expression.
struct FormatPart {
    int64_t part = 0;
    Group files; // its name is the extension in small letters
};

// Sums a whole table up by the extensions of its files and an SQL expression, in one pass over the rows.
std::vector<FormatPart> FormatPartsTake(TallyReader *tallies, const std::string &table,
                                        const std::string &expression);

// Puts the parts of each format together.
Tally FormatsOf(const std::vector<FormatPart> &parts);

// Sums a whole table up by the extensions of its files, in small letters.
Tally FormatsTake(TallyReader *tallies, const std::string &table);

// Counts rows by groups, most first.
std::vector<GroupCount> CountsTake(TallyReader *tallies, const TallyQuery &query);

// Returns the number `n` of a statement; 0 on failure.
int64_t NumberTake(TallyReader *tallies, const std::string &sql);

// Returns one row of numbers, one for each SQL expression. Empty on failure.
std::vector<int64_t> NumbersTake(TallyReader *tallies, const std::vector<std::string> &expressions,
                                 const std::string &table);

// Begin and end a time in which all that is read is of one moment, whatever the daemon writes.
void MomentBegin(TallyReader *tallies);
void MomentEnd(TallyReader *tallies);

// A duration of more than this is that of a damaged file.
inline constexpr int64_t kPlayingSecondsMax = 30 * 24 * 3600;
