// SPDX-License-Identifier: GPL-2.0-or-later
//
// Removing the media rows of a directory that a walk has not saved.
#include <stdlib.h>

#include <string>
#include <string_view>

#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/run_state.h"
#include "platform/index/statements.h"
#include "platform/veluindex.h"

namespace {

// Rows are read in portions. A path has at most one in each of five tables, and a portion is more than that.
constexpr int kSweptRows = 64;

ResultHandle RowsRead(Catalogue catalogue, const std::string &low, const std::string &high, int most) {
    const int statement = catalogue == Catalogue::media
                              ? StatementOf(StoreOperation::mediaInRange)
                              : StatementOf(StoreOperation::pathsInRange, kPhotoTables[kPhotoTableImage]);
    return RunRead(catalogue, statement, {TextValue(low), TextValue(high), VELUDBValue::Integer(most)});
}

// Whether there is a row in a range, as VELUIndexKnows has it.
int HasRows(Catalogue catalogue, const std::string &low, const std::string &high) {
    const ResultHandle rows = RowsRead(catalogue, low, high, 1);
    return rows == nullptr ? -1 : VELUDBRowCount(rows.get());
}

// With covers and markers as for every row.
int RowRemove(int kind, const std::string &path) {
    if (kind != kMediaTree)
        return MediaInfoDBDelete(kind, path.c_str());
    return RemoveRow(Catalogue::media, kDirectoryTable, path) < 0 ? -1 : 0;
}

// The row of the directory's own path may be that of a file by now.
int BelowRemove(const std::string &directory) {
    for (const char *table : kMediaTables) {
        const int removed =
            RemoveBelowCovers(table, directory) == 0 ? RemoveBelow(Catalogue::media, table, directory) : -1;
        if (removed < 0)
            return -1;
        MarkDirty(table);
        run_state.account.removed += static_cast<uint64_t>(removed);
    }
    return RemoveBelow(Catalogue::media, kDirectoryTable, directory) < 0 ? -1 : 0;
}

bool RowStays(const SavedRows &saved, size_t entered, int kind, const std::string &path) {
    const int why = kind == kMediaTree ? kSavedDirectory : kind;
    return SavedRowHas(saved, entered, why, path) || SavedRowHas(saved, entered, kSavedTree, path);
}

bool TreeStays(const SavedRows &saved, size_t entered, const std::string &path) {
    return SavedRowHas(saved, entered, kSavedDirectory, path) ||
           SavedRowHas(saved, entered, kSavedTree, path);
}

// Removes what `directory` has in a range of rows, or finds that it stays. Gives where to go on, empty at the end; false
// when something failed.
bool PortionSweep(size_t entered, const std::string &directory, std::string *low, const std::string &high) {
    const SavedRows &saved = run_state.saved;
    const ResultHandle rows = RowsRead(Catalogue::media, *low, high, kSweptRows);
    if (rows == nullptr)
        return false;
    bool removed = true;
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;) {
        const std::string path = VELUDBFetchField(rows.get(), row, "path");
        if (path < *low) // of a tree that is done with
            continue;
        const size_t slash = path.find('/', directory.size() + 1);
        if (slash == std::string::npos) {
            *low = path; // another table may have it, too
            const int kind = atoi(VELUDBFetchField(rows.get(), row, "kind"));
            if (!RowStays(saved, entered, kind, path))
                removed = RowRemove(kind, path) == 0 && removed;
            continue;
        }
        const std::string below = path.substr(0, slash);
        if (!TreeStays(saved, entered, below))
            removed = BelowRemove(below) == 0 && removed;
        *low = RangeUnder(below).high;
    }
    if (VELUDBRowCount(rows.get()) < kSweptRows)
        low->clear();
    return removed;
}

} // namespace

int VELUIndexKnows(Catalogue catalogue, const char *path, bool itself) {
    const std::string key = WithoutTrailingSlashes(path);
    const PathRange range = RangeUnder(key);
    RunScope scope;
    int known = HasRows(catalogue, range.low, range.high);
    if (known == 0 && itself)
        known = HasRows(catalogue, key, key + kLeastPathByte);
    return scope.Finish(0) != 0 ? -1 : known;
}

void MediaSweepBegin() {
    run_state.saved = {.on = true};
}

void MediaSweepEnd() {
    run_state.saved = {};
}

size_t MediaSweepCount() {
    return run_state.saved.keys.size();
}

void MediaSweepKeep(const char *path) {
    SavedRowAdd(&run_state.saved, kSavedTree, path);
}

void MediaSweepDirectory(const char *path) {
    SavedRowAdd(&run_state.saved, kSavedDirectory, path);
}

int MediaSweepLeave(size_t entered, const char *directory, bool end) {
    RunScope scope;
    int result = 0;
    if (end) {
        SavedRowsSort(&run_state.saved, entered);
        PathRange range = RangeUnder(directory);
        while (result == 0 && !range.low.empty())
            result = PortionSweep(entered, directory, &range.low, range.high) ? 0 : -1;
    }
    run_state.saved.keys.resize(entered);
    return scope.Finish(result);
}
