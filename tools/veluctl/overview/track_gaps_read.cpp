// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/track_gaps_read.h"

#include <stdlib.h>

#include <algorithm>

#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/search/search_within.h"

namespace {

// What is read of each track.
constexpr Column kTrackColumns[] = {{"path", "", Type::text},     {"album", "", Type::text},
                                    {"artist", "", Type::text},   {"disc", "", Type::integer},
                                    {"track", "", Type::integer}, {"total", "", Type::text}};

int NumberOf(const Value &value) {
    const long number = strtol(value.value_or("0").c_str(), nullptr, 10);
    return static_cast<int>(std::clamp(number, 0L, long{kTrackMax} + 1));
}

AlbumTrack TrackOf(const Row &row) {
    return {row[0].value_or(""), row[1].value_or(""), row[2].value_or(""),
            NumberOf(row[3]),    NumberOf(row[4]),    NumberOf(row[5])};
}

// Tracks that are read at a time, so that the first gaps show before all are read.
constexpr int kTracksPortion = 5000;

// Reads tracks behind a path, in the order of paths. Their number; -1 when they cannot be read.
int TracksRead(CatalogueReader *reader, const TrackGapsAsked &asked, std::string *last, TrackGaps *gaps) {
    SqlText query;
    query.Add(
        "select m.path as path, m.album as album, m.artist as artist, m.disc as disc, m.track as track, ");
    query.Add(asked.states ? "f.value as total from " + SongsWithFact("tracktotal")
                           : "'' as total from music m");
    query.Add(" where m.track > 0 and m.path > ").Put(*last);
    // A server does not conclude that, and would read the states from their first on for each portion.
    if (asked.states)
        query.Add(" and s.path > ").Put(*last);
    if (asked.within != nullptr)
        SearchWithinPut(*asked.within, "m.path", {&kMediaTables[kMediaMusic], 1}, &query);
    query.Add(" order by m.path");
    LimitPut(&query, kTracksPortion);
    int count = 0;
    const bool read = QueryRowsTake(reader, query, kTrackColumns, [&](const Row &row) {
        *last = row.front().value_or("");
        gaps->Add(TrackOf(row));
        ++count;
    });
    return read ? count : -1;
}

} // namespace

bool TrackGapsRead(CatalogueReader *reader, const TrackGapsAsked &asked,
                   const std::function<bool()> &wants_more, const AlbumGapsTake &take) {
    TrackGaps gaps([&](const AlbumGaps &found) {
        if (wants_more())
            take(found);
    });
    std::string last;
    int count = kTracksPortion;
    while (count == kTracksPortion && wants_more())
        count = TracksRead(reader, asked, &last, &gaps);
    gaps.End();
    return count >= 0;
}
