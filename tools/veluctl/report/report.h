// SPDX-License-Identifier: GPL-2.0-or-later
//
// The page's sections. Each reads what it shows and writes it; one without anything to show writes nothing.
#pragma once

#include <time.h>

#include <string>
#include <vector>

#include "tools/veluctl/check.h"
#include "tools/veluctl/overview/tally.h"
#include "tools/veluctl/report/html_writer.h"
#include "tools/veluctl/report/paths_behind.h"

// The kinds of media, in the order of the page. By the rules `appliance` subtitles have rows among the films.
enum Kind : size_t { kMusic, kFilms, kPictures, kPlaylists, kSubtitles, kKinds };

struct KindFacts {
    Literal table;
    Literal title;
    Literal anchor;             // of its section, and class of its colour
    std::string condition = {}; // of its rows; none: the whole table
    Tally formats = {};
    Group total = {};
};

struct Report {
    TallyReader tallies;
    HtmlWriter html = {};
    time_t now = 0;
    std::vector<KindFacts> kinds = {}; // by Kind
    Group total = {};
    int64_t directories = 0;
    bool facts = false; // the catalogue has states and facts of files
    bool checked = false;
    std::vector<Finding> findings = {};
};

// Takes the numbers that several sections need.
void NumbersOfKindsTake(Report *report);

void HeadWrite(Report *report);
void KindsWrite(Report *report);
void GrowthWrite(Report *report);
void MusicWrite(Report *report);
void CoversWrite(Report *report);
void FilmsWrite(Report *report);
void PostersWrite(Report *report);
void PicturesWrite(Report *report);
void NotableWrite(Report *report);
void CopiesWrite(Report *report);
void ProblemsWrite(Report *report);
void FootWrite(Report *report);

// --- What sections share -----------------------------------------------------------------------------------

void SectionBegin(Report *report, Literal anchor, Literal title);
void SectionEnd(Report *report);

// A part with a heading of its own.
void CardBegin(Report *report, Literal heading);
void CardEnd(Report *report);

// Writes the formats of a kind as bars.
void FormatsWrite(Report *report, Kind kind);

// Writes the names with the most files as bars, and the others as a list. `command` lists all.
struct Favourites {
    Literal heading;
    Literal names;
    const char *command;
    size_t shown = 12;                                      // as bars
    std::string (*name)(const std::string &name) = nullptr; // of a group, for people; none: as it is
};
void FavouritesWrite(Report *report, const Favourites &favourites, const TallyQuery &query);

// Values in classes. `upper` are the classes' upper bounds, the last of them without one.
struct ValueClass {
    double upper;
    const char *name;
};
struct Histogram {
    Literal heading;
    Literal names;
    Literal numbers;
    std::vector<ValueClass> classes;
    const char *unknown; // what is said of the files without a value
    FilesBehind lacking; // those files
};
// Writes a histogram. `value` gives the value of a group, 0 for none.
void HistogramWrite(Report *report, const Histogram &histogram, const Tally &tally,
                    double (*value)(const std::string &name));
double PlainValue(const std::string &name);
