// SPDX-License-Identifier: GPL-2.0-or-later
//
// Titles of albums with the most songs. An album has a title's songs, all or some, so that the largest albums are among those of these
// titles: a database that is told them need not put the songs of all albums together.
#pragma once

#include <stdint.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "tools/veluctl/search/search_within.h"

class AlbumTitles {
public:
    // Reads more titles than albums are wanted. False, with the reason in the reader, when they cannot be read.
    [[nodiscard]] bool Read(CatalogueReader *reader, const Search &search, uint32_t albums);

    // Adds " and m.album in (...)".
    void Put(SqlText *query) const;

    // Tells for each album of an answer, with all its songs counted, that none of another title comes before it.
    [[nodiscard]] bool Precedes(const std::string &title, int64_t files) const;

    // No other titles are left.
    [[nodiscard]] bool all() const { return next_ == 0; }

private:
    std::unordered_map<std::string, int64_t> files_;
    std::vector<std::string> titles_;
    int64_t next_ = 0; // files of the first title that is not among them
};
