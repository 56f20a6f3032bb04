// SPDX-License-Identifier: GPL-2.0-or-later
//
// The catalogue in numbers.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/veluctl/overview/tally.h"

struct StatsKind {
    const char *kind = "";
    Group total = {};
    std::vector<Group> formats = {}; // by extension
};

struct Stats {
    std::vector<StatsKind> kinds = {};
    int64_t directories = 0;
    bool facts = false; // what rests on facts and states is known
    int64_t artists = 0;
    int64_t albums = 0;
    int64_t genres = 0;
    std::vector<GroupCount> codecs = {};  // of all files, pictures too; most files first; needs facts
    std::vector<GroupCount> decades = {}; // of songs; in order
    std::vector<GroupCount> missing = {}; // tags of songs; title and album need states
    std::vector<GroupCount> added = {};   // files by month, in order; needs states
};

// False, with the reason in the reader, when the catalogue cannot be read.
[[nodiscard]] bool StatsTake(CatalogueReader *reader, Stats *stats);

void StatsShow(const Stats &stats);
void StatsPrint(const Stats &stats); // as JSON
