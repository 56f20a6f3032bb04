// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/album_titles.h"

#include <stdlib.h>

#include "platform/media_record.h"
#include "tools/veluctl/overview/query_rows.h"

namespace {

// Some titles are those of many small albums ("Greatest Hits").
constexpr uint32_t kTitlesAnAlbum = 5;

} // namespace

bool AlbumTitles::Read(CatalogueReader *reader, const Search &search, uint32_t albums) {
    constexpr Column kColumns[] = {{"album", "", Type::text}, {"files", "", Type::integer}};
    const size_t most = size_t{albums} * kTitlesAnAlbum;
    SqlText query;
    query.Add("select m.album as album, count(*) as files from music m where m.album <> ''");
    SearchWithinPut(search, "m.path", {&kMediaTables[kMediaMusic], 1}, &query);
    query.Add(" group by 1 order by 2 desc, 1 limit " + std::to_string(most + 1));
    return QueryRowsTake(reader, query, kColumns, [&](const Row &row) {
        const int64_t files = strtoll(row[1].value_or("0").c_str(), nullptr, 10);
        if (titles_.size() == most) {
            next_ = files;
            return;
        }
        titles_.push_back(row[0].value_or(""));
        files_[titles_.back()] = files;
    });
}

void AlbumTitles::Put(SqlText *query) const {
    AmongPut(&query->Add(" and m.album"), titles_);
}

bool AlbumTitles::Precedes(const std::string &title, int64_t files) const {
    const auto known = files_.find(title);
    // With as many files the titles decide, as long as these are all of the title's.
    return all() || files > next_ || (files == next_ && known != files_.end() && known->second == files);
}
