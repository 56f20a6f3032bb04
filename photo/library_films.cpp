// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/library_films.h"

#include <string>
#include <vector>

#include "daemon/walk_above.h"
#include "daemon/walk_rules.h"
#include "photo/rows_gone.h"
#include "platform/veluindex.h"

void LibraryFilmsSettle(const char *directory) {
    IgnoreRules ignore;
    const auto is_left_out = [&](const char *path) {
        return PathLeftOut(ActiveWalkRules().index, path, false, &ignore) != LeftOut::nothing;
    };
    std::vector<std::string> films;
    if (!RowsGoneGet(Catalogue::photo, kPhotoTableVideoDesc, directory, &films, is_left_out))
        return;
    for (const std::string &film : films)
        PhotoInfoDBDirDelete(film.c_str());
}
