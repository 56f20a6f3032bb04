// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/groups.h"

#include <algorithm>
#include <array>

#include "platform/media_record.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/overview/tally.h"

namespace {

constexpr Column kFiles = {"files", "FILES", Type::integer};
constexpr Column kTime = {"duration", "TIME", Type::seconds};
constexpr Column kSize = {"file_size", "SIZE", Type::bytes};

constexpr Column kArtistColumns[] = {kFiles, {"artist", "ARTIST", Type::text}};
constexpr Column kAlbumColumns[] = {
    kFiles, kTime, kSize, {"artist", "ARTIST", Type::text}, {"album", "ALBUM", Type::text}};
constexpr Column kGenreColumns[] = {kFiles, {"genre", "GENRE", Type::text}};
constexpr Column kYearColumns[] = {{"music", "MUSIC", Type::integer},
                                   {"video", "VIDEO", Type::integer},
                                   {"photo", "PHOTO", Type::integer},
                                   {"year", "YEAR", Type::text}};
constexpr Column kCameraColumns[] = {
    kFiles, kSize, {"camera_make", "MAKE", Type::text}, {"camera_model", "CAMERA", Type::text}};

struct Wanted {
    std::string directory; // none: all
    bool facts;            // the catalogue has facts of files
};

void DirectoryPut(SqlText *query, const char *path, const Wanted &wanted) {
    if (!wanted.directory.empty())
        BelowPut(&query->Add(" and "), path, wanted.directory);
}

// Files of any kind by the values of a tag: those that they have, and without facts all in one, as rows have them.
SqlText TagQuery(const std::string &tag, const Wanted &wanted) {
    SqlText query;
    if (wanted.facts) {
        query.Add("select min(f.value) as " + tag + ", count(*) as files from " + FactsOfFiles(tag));
        DirectoryPut(&query, "s.path", wanted);
        return query.Add(" group by ").Add(kFactFolded).Add(" order by 2 desc, 1");
    }
    query.Add("select " + tag + ", sum(files) as files from (");
    for (const char *table : kMediaTables) {
        query.Add(table == kMediaTables[0] ? "select " : " union all select ")
            .Add("m." + tag + " as " + tag + ", count(*) as files from " + table + " m where m." + tag +
                 " <> ''");
        DirectoryPut(&query, "m.path", wanted);
        query.Add(" group by 1");
    }
    return query.Add(") as tags group by 1 order by 2 desc, 1");
}

SqlText ArtistQuery(const Wanted &wanted) {
    return TagQuery("artist", wanted);
}

SqlText GenreQuery(const Wanted &wanted) {
    return TagQuery("genre", wanted);
}

std::string AlbumArtist(bool facts) {
    return facts ? "coalesce(f.value, m.artist)" : "m.artist";
}

// Albums of one title by several artists are several.
SqlText AlbumQuery(const Wanted &wanted) {
    SqlText query;
    query.Add("select m.album as album, " + AlbumArtist(wanted.facts) + " as artist, count(*) as files, " +
              SecondsSum() + " as duration, " + BytesSum() + " as file_size from " +
              (wanted.facts ? SongsWithFact("albumartist") : "music m") + " where m.album <> ''");
    DirectoryPut(&query, "m.path", wanted);
    return query.Add(" group by 1, 2 order by 3 desc, 1, 2");
}

// Photos by the year in which they were taken.
SqlText YearQuery(const Wanted &wanted) {
    struct Part {
        const char *table;
        const char *year;
        const char *condition;
    };
    constexpr Part kParts[] = {
        {"music", "cast(m.year as text)", "m.year between 1000 and 9999"},
        {"video", "cast(m.year as text)", "m.year between 1000 and 9999"},
        {"photo", "substr(m.date_taken, 1, 4)", "m.date_taken >= '1' and m.date_taken < ':'"},
    };
    SqlText query;
    query.Add("select year, sum(music) as music, sum(video) as video, sum(photo) as photo from (");
    for (const Part &part : kParts) {
        query.Add(&part == kParts ? "select " : " union all select ").Add(part.year).Add(" as year");
        for (const Part &column : kParts)
            query.Add(&column == &part ? ", count(*) as " : ", 0 as ").Add(column.table);
        query.Add(" from ").Add(part.table).Add(" m where ").Add(part.condition);
        DirectoryPut(&query, "m.path", wanted);
        query.Add(" group by 1");
    }
    return query.Add(") as years group by year order by year");
}

SqlText CameraQuery(const Wanted &wanted) {
    SqlText query;
    query.Add("select m.camera_make as camera_make, m.camera_model as camera_model, count(*) as files, " +
              BytesSum() + " as file_size from photo m where m.camera_model <> ''");
    DirectoryPut(&query, "m.path", wanted);
    return query.Add(" group by 1, 2 order by 3 desc, 1, 2");
}

struct GroupList {
    const char *word;
    std::span<const Column> columns;
    SqlText (*query)(const Wanted &wanted);
};
constexpr GroupList kLists[] = {
    {"artists", kArtistColumns, ArtistQuery}, {"albums", kAlbumColumns, AlbumQuery},
    {"genres", kGenreColumns, GenreQuery},    {"years", kYearColumns, YearQuery},
    {"cameras", kCameraColumns, CameraQuery},
};

} // namespace

std::vector<const char *> GroupWords() {
    return ListWords(kLists);
}

ExitCode GroupsList(const Options &options) {
    const GroupList &list = *std::ranges::find(kLists, options.what, &GroupList::word);
    if (!options.kinds.empty())
        return Complain(kUsage, std::string("--kind does not apply to ") + list.word);
    CatalogueReader reader;
    const int facts = FileTablesLook(&reader);
    if (facts < 0)
        return Complain(kUnreachable, reader.failure);
    const Wanted wanted = {options.directory.empty() ? "" : RequestPathMake(options.directory), facts == 1};
    SqlText query = list.query(wanted);
    LimitPut(&query, options.limit);
    RowWriter writer(options.form(), list.columns, stdout);
    const bool read = QueryRowsTake(&reader, query, list.columns, [&](const Row &row) { writer.Add(row); });
    writer.End();
    return read ? ListEnd(writer.count(), options) : Complain(kUnreachable, reader.failure);
}
