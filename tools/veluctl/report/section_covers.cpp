// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover walls: a picture for each of the newest albums, and of the newest films.
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/report/cover_wall.h"
#include "tools/veluctl/report/report.h"

namespace {

// Together less than 1.5 MB in the page.
constexpr size_t kAlbumBytesMax = 800 * 1024;
constexpr size_t kFilmBytesMax = 300 * 1024;

constexpr Column kColumns[] = {{"name", "", Type::text},
                               {"more", "", Type::text},
                               {"path", "", Type::path},
                               {"in_all", "", Type::integer}};

// A directory, with the slash behind it, as SQL.
constexpr char kFolder[] = "rtrim(m.path, replace(m.path, '/', ''))";

std::string When(const Report &report, const char *of) {
    return report.facts ? std::string(of) + "(s.added)" : std::string(of) + "(m.create_time)";
}

// An album is one of its album artist. Where no tag names that one, songs of one title in one directory are an album, by their artist
// if they have the same, and those of one artist are one in whatever directories: discs have some of their own.
std::string Albums(const Report &report) {
    const std::string album_artist = report.facts ? "nullif(f.value, '')" : "cast(null as text)";
    const std::string folders =
        "select m.album as album, " + std::string(kFolder) + " as folder, coalesce(" + album_artist +
        ", case when min(m.artist) = max(m.artist) then min(m.artist) end) as artist, min(m.path) as path, " +
        When(report, "max") + " as newest from " +
        (report.facts ? SongsWithFact("albumartist") : std::string("music m")) +
        " where m.has_cover <> 0 and m.album <> '' group by m.album, folder, " + album_artist;
    return "select album as name, coalesce(min(artist), 'Various artists') as more, min(path) as path, "
           "count(*) over () as in_all from (" +
           folders + ") as folders group by album, coalesce(artist, folder) order by max(newest) desc, 1, 2";
}

std::string Films(const Report &report) {
    return "select m.title as name, '' as more, m.path as path, count(*) over () as in_all from video m" +
           std::string(report.facts ? " join file_state s on s.path = m.path" : "") +
           " where m.has_cover <> 0 order by " + When(report, "") + " desc, 1, 3";
}

void WallWrite(Report *report, CoverWall wall, const std::string &owners) {
    if (report->tallies.failed)
        return;
    SqlText query;
    query.Add(owners);
    LimitPut(&query, kOwnersMax);
    report->tallies.failed = !QueryRowsTake(report->tallies.reader, query, kColumns, [&](const Row &row) {
        wall.newest.push_back({row[0].value_or(""), row[1].value_or(""), row[2].value_or("")});
        wall.in_all = strtoll(row[3].value_or("0").c_str(), nullptr, 10);
    });
    CoverWallWrite(&report->html, wall);
}

} // namespace

void CoversWrite(Report *report) {
    WallWrite(report, {"covers", "music", "Covers", "album", "albums", kAlbumBytesMax}, Albums(*report));
}

void PostersWrite(Report *report) {
    WallWrite(report, {"posters", "films", "Posters", "film", "films", kFilmBytesMax}, Films(*report));
}
