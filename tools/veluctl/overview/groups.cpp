// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/groups.h"

#include <stdlib.h>

#include <optional>

#include "platform/media_record.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/overview/album_titles.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/overview/tally.h"
#include "tools/veluctl/search/search_asked.h"
#include "tools/veluctl/search/search_within.h"

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
    const Search *search;
    bool facts;                          // the catalogue has facts of files
    const AlbumTitles *titles = nullptr; // null: albums of all titles

    // Adds that only files of these tables are meant that the words find.
    void Put(const char *path, std::span<const char *const> tables, SqlText *query) const {
        SearchWithinPut(*search, path, tables, query);
    }

    void AlbumsPut(SqlText *query) const {
        Put("m.path", {&kMediaTables[kMediaMusic], 1}, query);
        if (titles != nullptr)
            titles->Put(query);
    }
};

// Files of any kind by the values of a tag: those that they have, and without facts all in one, as rows have them.
SqlText TagQuery(const std::string &tag, const Wanted &wanted) {
    SqlText query;
    if (wanted.facts) {
        query.Add("select min(f.value) as " + tag + ", count(*) as files from " + FactsOfFiles(tag));
        wanted.Put("s.path", kMediaTables, &query);
        return query.Add(" group by ").Add(kFactFolded).Add(" order by 2 desc, 1");
    }
    query.Add("select " + tag + ", sum(files) as files from (");
    for (const char *table : kMediaTables) {
        query.Add(table == kMediaTables[0] ? "select " : " union all select ")
            .Add("m." + tag + " as " + tag + ", count(*) as files from " + table + " m where m." + tag +
                 " <> ''");
        wanted.Put("m.path", {&table, 1}, &query);
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

// Sums of the songs `m` of an album, with its title.
std::string AlbumSums(const std::string &artist) {
    return "select m.album as album, " + artist + " as artist, count(*) as files, " + SecondsSum() +
           " as duration, " + BytesSum() + " as file_size from ";
}

// Albums of one title by several artists are several.
void AlbumsByArtist(const Wanted &wanted, SqlText *query) {
    query->Add(AlbumSums("m.artist") + "music m where m.album <> ''");
    wanted.AlbumsPut(query);
    query->Add(" group by 1, 2");
}

// An album has one artist, that of the album. Where no tag names one, songs by several artists under one title in one directory are one
// album, and so are those that are tagged as of a compilation.
void AlbumsByAlbumArtist(const Wanted &wanted, SqlText *query) {
    constexpr char kDirectory[] =
        "case when f.value is null then rtrim(m.path, replace(m.path, '/', '')) else '' end";
    constexpr char kCompilation[] =
        "case when f.value is null then (select 1 from file_fact c where c.file = s.id and c.position = 0 "
        "and "
        "c.value = '1' and c.name = (select id from fact_name where name = 'compilation')) end";
    const std::string artist =
        std::string("coalesce(f.value, case when max(") + kCompilation +
        ") = 1 or min(m.artist) <> max(m.artist) then 'Various artists' else min(m.artist) end)";
    query->Add("select album, artist, sum(files) as files, sum(duration) as duration, sum(file_size) as "
               "file_size from (");
    query->Add(AlbumSums(artist) + SongsWithFact("albumartist") + " where m.album <> ''");
    wanted.AlbumsPut(query);
    query->Add(" group by m.album, f.value, ").Add(kDirectory).Add(") as albums group by 1, 2");
}

SqlText AlbumQuery(const Wanted &wanted) {
    SqlText query;
    wanted.facts ? AlbumsByAlbumArtist(wanted, &query) : AlbumsByArtist(wanted, &query);
    return query.Add(" order by 3 desc, 1, 2");
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
        wanted.Put("m.path", {&part.table, 1}, &query);
        query.Add(" group by 1");
    }
    return query.Add(") as years group by year order by year");
}

SqlText CameraQuery(const Wanted &wanted) {
    SqlText query;
    query.Add("select m.camera_make as camera_make, m.camera_model as camera_model, count(*) as files, " +
              BytesSum() + " as file_size from photo m where m.camera_model <> ''");
    wanted.Put("m.path", {&kMediaTables[kMediaPhoto], 1}, &query);
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

// More than this are found as fast among all.
constexpr uint32_t kFewAlbums = 200;

// Reads the largest albums by their titles. Nothing when their order cannot be told that way.
using Rows = std::vector<Row>;
std::optional<Rows> LargestAlbumsRead(CatalogueReader *reader, const Wanted &wanted, uint32_t limit,
                                      bool *read) {
    AlbumTitles titles;
    *read = titles.Read(reader, *wanted.search, limit);
    if (!*read)
        return {};
    SqlText query = AlbumQuery({wanted.search, wanted.facts, &titles});
    LimitPut(&query, limit);
    Rows albums;
    bool sure = true;
    *read = QueryRowsTake(reader, query, kAlbumColumns, [&](Row &row) {
        sure = sure && titles.Precedes(row.back().value_or(""),
                                       strtoll(row.front().value_or("0").c_str(), nullptr, 10));
        albums.push_back(std::move(row));
    });
    return sure && (albums.size() == limit || titles.all()) ? std::optional(albums) : std::nullopt;
}

bool GroupsRead(CatalogueReader *reader, const GroupList &list, const Wanted &wanted, uint32_t limit,
                RowWriter *writer) {
    if (list.query == AlbumQuery && limit > 0 && limit <= kFewAlbums) {
        bool read = true;
        const std::optional<Rows> albums = LargestAlbumsRead(reader, wanted, limit, &read);
        for (const Row &album : albums.value_or(Rows()))
            writer->Add(album);
        if (albums || !read)
            return read;
    }
    SqlText query = list.query(wanted);
    LimitPut(&query, limit);
    return QueryRowsTake(reader, query, list.columns, [&](const Row &row) { writer->Add(row); });
}

} // namespace

std::vector<const char *> GroupWords() {
    return ListWords(kLists);
}

ExitCode GroupsList(const Options &options) {
    const GroupList *found = ListFind(kLists, options.what);
    if (found == nullptr)
        return ListUnknown(options.what, ListedWords());
    const GroupList &list = *found;
    if (!options.kinds.empty())
        return Complain(kUsage, std::string("--kind does not apply to ") + list.word + "; kind=song does");
    SearchAsked asked;
    CatalogueReader reader;
    bool facts = false;
    if (const ExitCode wrong = SearchWithinBegin(options, &asked, &reader, &facts); wrong != kDone)
        return wrong;
    RowWriter writer(options.form(), list.columns, stdout);
    const bool read = GroupsRead(&reader, list, {&asked.search, facts}, options.limit, &writer);
    writer.End();
    return read ? ListEnd(writer.count(), options) : Complain(kUnreachable, reader.failure);
}
