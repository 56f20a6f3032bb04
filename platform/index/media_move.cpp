// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/media_move.h"

#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/index/cover_place.h"
#include "platform/index/file_state.h"
#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/statements.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"

namespace {

struct TreeMoving {
    std::string from;
    std::string to;
    std::vector<std::string> coverless = {}; // new paths of files whose covers could not be moved
};

// Calls `take` with the path of each row that has a cover, from `low` up to `high`. It returns 0 or -1, which ends it.
template <typename Take>
int CoveredEach(const char *table, std::string low, const std::string &high, Take take) {
    for (bool more = true; more;) {
        std::vector<std::string> paths;
        {
            const ResultHandle rows =
                RunRead(Catalogue::media, StatementOf(StoreOperation::coversInRange, table),
                        {TextValue(low), TextValue(high)});
            if (rows == nullptr)
                return -1;
            for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;)
                paths.emplace_back(VELUDBFetchText(rows.get(), row, "path"));
        }
        for (const std::string &path : paths) {
            if (take(path) != 0)
                return -1;
            low = path + kLeastPathByte;
        }
        more = paths.size() >= kCoverRows;
    }
    return 0;
}

// The same for a whole tree, in all tables.
template <typename Take>
int CoveredInTree(const std::string &tree, Take take) {
    const PathRange range = RangeUnder(tree);
    return std::ranges::any_of(kMediaTables,
                               [&](const char *table) {
                                   return CoveredEach(table, tree, tree + kLeastPathByte, take) != 0 ||
                                          CoveredEach(table, range.low, range.high, take) != 0;
                               })
               ? -1
               : 0;
}

// Removes the cover of a row that gives way to one without. Where one with a cover comes, what is there may be that: an attempt
// was broken off. Returns 0 or -1.
int DisplacedCoverRemove(const char *new_path, const char *old_path) {
    char folder[kMediaPathSize];
    if (GetCoverFolder(new_path, folder, sizeof folder) == 0 || access(folder, F_OK) != 0)
        return 0;
    FileState comes;
    const int known = FileStateOf(old_path, &comes);
    if (known != 1)
        return known;
    const int covered = FileHasCover(old_path);
    if (covered == 0)
        CleanOldCover(folder);
    return covered < 0 ? -1 : 0;
}

// Covers go before rows: after a crash between the two, the same request finds what is left at the old path. Where the power has
// failed, the rows may have come to the disk before them.
int TreeCoversMove(TreeMoving *tree) {
    const auto move = [&](std::string_view rest) {
        std::string to = tree->to + std::string(rest);
        if (!CoversMove(to.c_str(), (tree->from + std::string(rest)).c_str()))
            tree->coverless.push_back(std::move(to));
        return 0;
    };
    if (CoveredInTree(tree->to, [&](const std::string &path) {
            const std::string rest = path.substr(tree->to.size());
            return DisplacedCoverRemove(path.c_str(), (tree->from + rest).c_str()) != 0 ? -1 : move(rest);
        }) != 0)
        return -1;
    return CoveredInTree(tree->from,
                         [&](const std::string &path) { return move(path.substr(tree->from.size())); });
}

int RowsMove(TreeMoving *tree) {
    const PathRange range = RangeUnder(tree->from);
    // What a path had in one table may come from another.
    for (const StoreOperation operation : {StoreOperation::displaceMedia, StoreOperation::moveRows})
        for (const char *table : kMediaTables) {
            if (RunWrite(Catalogue::media, StatementOf(operation, table),
                         {TextValue(tree->to), TextValue(tree->from), TextValue(tree->from),
                          TextValue(range.low), TextValue(range.high)}) < 0)
                return -1;
            MarkDirty(table);
        }
    return 0;
}

// Lets a file be read again.
void StampForget(const std::string &path) {
    RunWrite(Catalogue::media, StatementOf(StoreOperation::stampState), {TextValue(path), TextValue("")});
}

int TreeMove(TreeMoving *tree) {
    if (TreeCoversMove(tree) != 0 || RowsMove(tree) != 0)
        return -1;
    for (const std::string &path : tree->coverless)
        StampForget(path);
    return RemoveTree(Catalogue::media, kDirectoryTable, tree->from) < 0 ? -1 : 0;
}

} // namespace

int MediaTreeMove(const char *new_path, const char *old_path) {
    TreeMoving tree = {WithoutTrailingSlashes(old_path), WithoutTrailingSlashes(new_path)};
    RunScope scope;
    return scope.Finish(TreeMove(&tree));
}

int MediaDirectoryForget(const char *path) {
    RunScope scope;
    return scope.Finish(RemoveRow(Catalogue::media, kDirectoryTable, path) < 0 ? -1 : 0);
}

int MediaAlbumRename(const char *directory, std::string_view new_album, std::string_view old_album) {
    const std::string path = WithoutTrailingSlashes(directory);
    const PathRange range = RangeUnder(path);
    RunScope scope;
    int result = 0;
    for (const char *table : kMediaTables)
        if (RunWrite(Catalogue::media, StatementOf(StoreOperation::renameMediaAlbum, table),
                     {TextValue(new_album), TextValue(range.low), TextValue(range.high), TextValue(old_album),
                      TextValue(range.low)}) < 0)
            result = -1;
    return scope.Finish(result);
}

int MediaFileMove(const char *new_path, const char *old_path, const MediaMoved &moved) {
    const std::string from = old_path;
    const std::string to = new_path;
    RunScope scope;
    if (DisplacedCoverRemove(new_path, old_path) != 0)
        return scope.Finish(-1);
    const bool covered = CoversMove(new_path, old_path);
    std::vector<VELUDBValue> removed = {TextValue(to)};
    std::vector<VELUDBValue> values = {TextValue(to),
                                       TextValueOrNull(moved.old_title),
                                       TextValue(moved.new_title),
                                       TextValueOrNull(moved.old_album),
                                       TextValue(moved.new_album),
                                       TextValueOrNull(moved.create_time),
                                       TextValue(from)};
    std::vector<VELUDBValue> state = {TextValue(to), TextValue(covered ? moved.stamp : "")};
    std::vector<StoreWrite> writes;
    const auto add = [&](int statement, const std::vector<VELUDBValue> &of) {
        writes.push_back({statement, of.data(), of.size()});
    };
    for (const char *table : kMediaTables)
        add(StatementOf(StoreOperation::removeRow, table), removed);
    for (const char *table : kMediaTables)
        add(StatementOf(StoreOperation::moveMediaFile, table), values);
    add(StatementOf(StoreOperation::stampState), state);
    const int result = RunWriteUnit(Catalogue::media, writes);
    for (const char *table : kMediaTables)
        MarkDirty(table);
    return scope.Finish(result < 0 ? -1 : 0);
}
