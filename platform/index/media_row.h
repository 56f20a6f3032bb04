// SPDX-License-Identifier: GPL-2.0-or-later
//
// From a MediaInfo to a row of the media catalogue.
#pragma once

#include <string>
#include <vector>

#include "platform/media_record.h"
#include "platform/veludb.h"

// Returns the statement that inserts or replaces a row of `table`, its values in the order of MediaRow.
std::string MediaRowStatement(const char *table);

// The values of a row. The texts are kept apart, since the values only point at them.
struct MediaRow {
    std::vector<std::string> texts;
    std::vector<VELUDBValue> values;
};

MediaRow MediaRowOf(const MediaInfo &record);

// Returns whether a record may become a row of the table of `kind`; if not, with a line.
bool MediaRowIsGood(int kind, const MediaInfo *record);

// What follows when its row is stored: the dirty marker, and that a sweep leaves it.
void MediaRowSaved(int kind, const MediaInfo &record);
