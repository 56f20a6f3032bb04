// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl missing: which songs lack tags, a year or a cover, which tracks albums lack, and which files are left out.
#include <stdlib.h>

#include <algorithm>

#include "tools/veluctl/commands.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/left_out_files.h"
#include "tools/veluctl/overview/missing_tags.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/overview/track_gaps_read.h"
#include "tools/veluctl/search/search_asked.h"
#include "tools/veluctl/search/search_within.h"

namespace {

struct Asked {
    CatalogueReader *reader;
    const Search *search;
    uint32_t limit;
    bool states; // the catalogue knows what was made from names, and has facts
};

void WithinAndOrderPut(SqlText *query, const Asked &asked) {
    SearchWithinPut(*asked.search, "m.path", {&kMediaTables[kMediaMusic], 1}, query);
    query->Add(" order by m.path");
}

constexpr Column kTagColumns[] = {{"missing", "MISSING", Type::text}, {"path", "PATH", Type::path}};

bool TagsFind(const Asked &asked, RowWriter *writer) {
    SqlText query;
    query.Add("select " + TagsMissingText(asked.states) + " as missing, m.path as path from " +
              TaggedRows(asked.states) + " where " + AnyTagMissing(asked.states));
    WithinAndOrderPut(&query, asked);
    LimitPut(&query, asked.limit);
    return QueryRowsTake(asked.reader, query, kTagColumns, [&](const Row &row) { writer->Add(row); });
}

constexpr Column kSongColumns[] = {{"artist", "ARTIST", Type::text},
                                   {"album", "ALBUM", Type::text},
                                   {"title", "TITLE", Type::text},
                                   {"path", "PATH", Type::path}};

bool SongsFind(const Asked &asked, const char *condition, RowWriter *writer) {
    SqlText query;
    query
        .Add("select m.artist as artist, m.album as album, m.title as title, m.path as path from music m "
             "where ")
        .Add(condition);
    WithinAndOrderPut(&query, asked);
    LimitPut(&query, asked.limit);
    return QueryRowsTake(asked.reader, query, kSongColumns, [&](const Row &row) { writer->Add(row); });
}

bool CoversFind(const Asked &asked, RowWriter *writer) {
    return SongsFind(asked, "m.has_cover = 0", writer);
}

bool YearsFind(const Asked &asked, RowWriter *writer) {
    return SongsFind(asked, "m.year <= 0", writer);
}

constexpr Column kGapColumns[] = {{"disc", "DISC", Type::integer},  {"present", "THERE", Type::integer},
                                  {"last", "OF", Type::integer},    {"missing", "MISSING", Type::text},
                                  {"artist", "ARTIST", Type::text}, {"album", "ALBUM", Type::text},
                                  {"path", "DIRECTORY", Type::path}};

bool TracksFind(const Asked &asked, RowWriter *writer) {
    const auto wants_more = [&] { return writer->count() < asked.limit; };
    return TrackGapsRead(asked.reader, {asked.search, asked.states}, wants_more, [&](const AlbumGaps &found) {
        writer->Add({std::to_string(found.disc), std::to_string(found.present), std::to_string(found.last),
                     found.missing, found.artist, found.album, found.directory});
    });
}

struct MissingList {
    const char *word;
    std::span<const Column> columns;
    bool (*find)(const Asked &asked, RowWriter *writer);
};
constexpr MissingList kMissingLists[] = {
    {"tags", kTagColumns, TagsFind},
    {"tracks", kGapColumns, TracksFind},
    {"covers", kSongColumns, CoversFind},
    {"years", kSongColumns, YearsFind},
};

} // namespace

std::vector<const char *> MissingWords() {
    std::vector<const char *> words = ListWords(kMissingLists);
    words.push_back(kLeftOutList);
    return words;
}

ExitCode MissingCommand(const Options &options) {
    if (options.what == kLeftOutList)
        return LeftOutFilesList(options);
    const MissingList *list = ListFind(kMissingLists, options.what);
    if (list == nullptr)
        return ListUnknown(options.what, MissingWords());
    SearchAsked asked;
    CatalogueReader reader;
    bool states = false;
    if (const ExitCode wrong = SearchWithinBegin(options, &asked, &reader, &states); wrong != kDone)
        return wrong;
    RowWriter writer(options.form(), list->columns, stdout);
    const bool read = list->find({&reader, &asked.search, options.limit, states}, &writer);
    writer.End();
    if (!read)
        return Complain(kUnreachable, reader.failure);
    if (writer.count() == 0 && options.limit > 0 && options.form() == Form::table)
        fputs("Nothing is missing.\n", stderr);
    return writer.count() == 0 ? kDone : kFound;
}
