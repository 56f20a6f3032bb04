// SPDX-License-Identifier: GPL-2.0-or-later
//
// Removing rows, and the covers that belong to them.
#include "platform/index/rows.h"

#include <initializer_list>

#include "platform/index/run.h"
#include "platform/media_record.h"

namespace {

// Rows with covers are looked up in portions, so that a library of any size needs the same memory.
constexpr int kCoverRows = 200;

// Removes the covers of the rows that a query names. Returns the number of rows, or -1; `last` is the path of
// the last of them.
int RemoveCovers(int statement, std::initializer_list<VELUDBValue> values, std::string *last) {
    VELUDBResult *rows = RunRead(Catalogue::media, statement, values);
    if (rows == nullptr)
        return -1;
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
        *last = VELUDBFetchField(rows, row, "path");
        char folder[kMediaPathSize];
        if (GetCoverFolder(last->c_str(), folder, sizeof folder) != 0)
            CleanOldCover(folder);
    }
    const int count = VELUDBRowCount(rows);
    VELUDBFreeResult(rows);
    return count;
}

// `condition` picks the rows from $1 on, in the order of their paths.
int RemoveCoversFrom(const std::string &table, const std::string &condition, std::string low,
                     const std::string *high) {
    const int statement =
        StoreStatement("select path from " + table + " where " + condition +
                       " and has_cover = 1 order by path limit " + std::to_string(kCoverRows));
    for (;;) {
        std::string last;
        const int count = high != nullptr ? RemoveCovers(statement, {TextValue(low), TextValue(*high)}, &last)
                                          : RemoveCovers(statement, {TextValue(low)}, &last);
        if (count < kCoverRows)
            return count < 0 ? -1 : 0;
        low = last + '\x01'; // no path has a smaller byte
    }
}

} // namespace

std::string WithoutTrailingSlashes(const std::string &path) {
    const size_t last = path.find_last_not_of('/');
    return last == std::string::npos ? std::string() : path.substr(0, last + 1);
}

int RemoveRow(Catalogue catalogue, const std::string &table, const std::string &path) {
    const int statement = StoreStatement("delete from " + table + " where path = $1");
    return RunWrite(catalogue, statement, {TextValue(path)});
}

std::string RemoveTreeStatement(const std::string &table) {
    return "delete from " + table + " where path = $1 or (path >= $2 and path < $3)";
}

int RemoveTree(Catalogue catalogue, const std::string &table, const std::string &directory) {
    const int statement = StoreStatement(RemoveTreeStatement(table));
    const PathRange range = RangeUnder(directory);
    return RunWrite(catalogue, statement,
                    {TextValue(directory), TextValue(range.low), TextValue(range.high)});
}

int RemoveAll(Catalogue catalogue, const std::string &table) {
    return RunWriteText(catalogue, ("delete from " + table).c_str());
}

int RemoveRowCovers(const std::string &table, const std::string &path) {
    const int statement = StoreStatement("select path from " + table + " where path = $1 and has_cover = 1");
    std::string last;
    return RemoveCovers(statement, {TextValue(path)}, &last) < 0 ? -1 : 0;
}

int RemoveTreeCovers(const std::string &table, const std::string &directory) {
    const PathRange range = RangeUnder(directory);
    if (RemoveRowCovers(table, directory) != 0)
        return -1;
    return RemoveCoversFrom(table, "path >= $1 and path < $2", range.low, &range.high);
}

int RemoveAllCovers(const std::string &table) {
    return RemoveCoversFrom(table, "path >= $1", std::string(), nullptr);
}

void MarkDirty(const std::string &table) {
    if (table == kMediaTables[kMediaMusic])
        VELUIndexMusicTableDirtySet(1);
    if (table == kMediaTables[kMediaVideo])
        VELUIndexVideoTableDirtySet(1);
}
