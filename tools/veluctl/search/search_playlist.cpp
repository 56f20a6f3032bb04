// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names are cut nowhere: what a line cannot carry is left out.
#include "tools/veluctl/search/search_playlist.h"

#include "tools/veluctl/message.h"
#include "tools/veluctl/playlist_writer.h"

SearchEnd PlaylistFound(CatalogueReader *reader, const Search &search, FILE *out, SearchProblem *problem,
                        size_t *count) {
    PlaylistWriter writer(out);
    const SearchEnd end =
        SearchRowsRead(reader, search, {std::begin(kPlaylistColumns), std::end(kPlaylistColumns)}, problem,
                       [&](const CatalogueTable &, Row &row) { writer.Add(row); });
    if (writer.left_out() > 0)
        Complain(kDone, Counted(static_cast<long long>(writer.left_out()), "file") +
                            " left out: a playlist has no place for a name with a line's end");
    *count = writer.count();
    return end;
}
