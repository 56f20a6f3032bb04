// SPDX-License-Identifier: GPL-2.0-or-later
//
// Removing rows, and the covers that belong to them.
#include "platform/index/rows.h"

#include <string.h>

#include <initializer_list>

#include "platform/index/cover_place.h"
#include "platform/index/run.h"
#include "platform/index/statements.h"
#include "platform/media_record.h"

namespace {

// Removes the covers of the rows that a query names. Returns the number of rows, or -1; `last` is the path of
// the last of them.
int RemoveCovers(int statement, std::initializer_list<VELUDBValue> values, std::string *last) {
    const ResultHandle rows = RunRead(Catalogue::media, statement, values);
    if (rows == nullptr)
        return -1;
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;) {
        *last = VELUDBFetchField(rows.get(), row, "path");
        CoversRemove(*last);
    }
    return VELUDBRowCount(rows.get());
}

// Removes the covers of all rows from `low` on, up to `high` unless that is null.
int RemoveCoversFrom(const char *table, std::string low, const std::string *high) {
    const int in_range = StatementOf(StoreOperation::coversInRange, table);
    const int from = StatementOf(StoreOperation::coversFrom, table);
    for (;;) {
        std::string last;
        const int count = high != nullptr ? RemoveCovers(in_range, {TextValue(low), TextValue(*high)}, &last)
                                          : RemoveCovers(from, {TextValue(low)}, &last);
        if (count < kCoverRows)
            return count < 0 ? -1 : 0;
        low = last + kLeastPathByte;
    }
}

} // namespace

std::string WithoutTrailingSlashes(const std::string &path) {
    return std::string(PathWithoutEndSlashes(path));
}

int RemoveRow(Catalogue catalogue, const char *table, const std::string &path) {
    return RunWrite(catalogue, StatementOf(StoreOperation::removeRow, table), {TextValue(path)});
}

int RemoveTree(Catalogue catalogue, const char *table, const std::string &directory) {
    const PathRange range = RangeUnder(directory);
    return RunWrite(catalogue, StatementOf(StoreOperation::removeTree, table),
                    {TextValue(directory), TextValue(range.low), TextValue(range.high)});
}

int RemoveBelow(Catalogue catalogue, const char *table, const std::string &directory) {
    const PathRange range = RangeUnder(directory);
    // No row's path ends in a slash.
    return RunWrite(catalogue, StatementOf(StoreOperation::removeTree, table),
                    {TextValue(range.low), TextValue(range.low), TextValue(range.high)});
}

int RemoveAll(Catalogue catalogue, const char *table) {
    return RunWriteText(catalogue, (std::string("delete from ") + table).c_str());
}

int RemoveRowCovers(const char *table, const std::string &path) {
    std::string last;
    return RemoveCovers(StatementOf(StoreOperation::coverOfRow, table), {TextValue(path)}, &last) < 0 ? -1
                                                                                                      : 0;
}

int RemoveTreeCovers(const char *table, const std::string &directory) {
    return RemoveRowCovers(table, directory) != 0 ? -1 : RemoveBelowCovers(table, directory);
}

int RemoveBelowCovers(const char *table, const std::string &directory) {
    const PathRange range = RangeUnder(directory);
    return RemoveCoversFrom(table, range.low, &range.high);
}

int RemoveAllCovers(const char *table) {
    return RemoveCoversFrom(table, std::string(), nullptr);
}

void MarkDirty(const char *table) {
    if (strcmp(table, kMediaTables[kMediaMusic]) == 0)
        VELUIndexMusicTableDirtySet(1);
    if (strcmp(table, kMediaTables[kMediaVideo]) == 0)
        VELUIndexVideoTableDirtySet(1);
}
