// SPDX-License-Identifier: GPL-2.0-or-later
//
// What lies below a directory: in the catalogue, on the disk, and left out.
#include <stdlib.h>

#include "daemon/index.h"
#include "platform/path.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/why/why.h"

namespace {

// The number of rows of a table below a directory; -1 when they cannot be read.
int64_t RowsBelow(CatalogueReader *reader, const std::string &table, const std::string &directory,
                  const char *condition) {
    const PathRange below = RangeUnder(directory == "/" ? std::string() : directory);
    const ResultHandle rows =
        CatalogueQuery(reader, Catalogue::media,
                       "select count(*) as n from " + table + " where path >= $1 and path < $2" + condition,
                       {below.low, below.high});
    return rows != nullptr ? strtoll(VELUDBFetchText(rows.get(), 0, "n"), nullptr, 10) : -1;
}

void DiskLook(const std::string &directory, Below *below) {
    TreeCursor cursor =
        TreeBegin(directory.c_str(), {.rules = &ActiveWalkRules().index, .left_out = &below->left_out});
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done; event = TreeNext(&cursor)) {
        if (event == TreeEvent::left && IsUnread(cursor.end))
            ++below->unread;
        if (event != TreeEvent::entry)
            continue;
        const LeftOut why = EntryLeftOut(cursor);
        if (why == LeftOut::nothing)
            ++below->found;
        else
            LeftOutCount(&below->left_out, why);
    }
}

} // namespace

LeftOut EntryLeftOut(const TreeCursor &cursor) {
    if (cursor.error != 0)
        return LeftOut::unseen;
    return cursor.kind == EntryKind::file ? FileLeftOut(cursor.path.c_str()) : LeftOut::special;
}

int64_t TroubledBelow(CatalogueReader *reader, const std::string &directory) {
    const int there = FileTablesLook(reader);
    return there > 0 ? RowsBelow(reader, "file_state", directory, " and trouble <> ''") : there;
}

bool BelowRead(CatalogueReader *reader, const std::string &path, Below *below) {
    for (const char *table : kMediaTables) {
        const int64_t rows = RowsBelow(reader, table, path, "");
        if (rows < 0)
            return false;
        below->catalogued += rows;
    }
    below->in_trouble = TroubledBelow(reader, path);
    if (below->in_trouble < 0)
        return false;
    DiskLook(path, below);
    return true;
}
