// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading the states of files: a directory's at once, through the index of their paths, or one.
#include "platform/index/file_state.h"

#include <stdlib.h>

#include <algorithm>
#include <string_view>

#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/run_session.h"
#include "platform/index/statements.h"
#include "platform/limits.h"
#include "platform/veluindex.h"

namespace {

// A portion grows as long as it holds nothing but files of the directory itself, and begins anew behind a folder of it.
constexpr int kFirstPortion = 64;
constexpr int kLastPortion = 2048;

// Takes what a portion has of the directory of `size` bytes, and gives where the next one begins. Returns whether it met
// folders.
bool PortionTake(size_t size, const VELUDBResult *rows, std::string *low, const FileStateTake &take) {
    bool folders = false;
    std::string_view last;
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
        const std::string_view path = VELUDBFetchText(rows, row, "path");
        if (path < *low) // in a folder that is done with
            continue;
        const size_t slash = path.find('/', size + 1);
        folders = folders || slash != std::string_view::npos;
        last = path;
        if (slash != std::string_view::npos)
            *low = RangeUnder(std::string(path.substr(0, slash))).high;
        else
            take(path.substr(size + 1), VELUDBFetchText(rows, row, "stamp"),
                 VELUDBFetchText(rows, row, "trouble"));
    }
    if (last >= *low)
        *low = std::string(last) + kLeastPathByte;
    return folders;
}

} // namespace

bool FileTablesThere() {
    RunScope scope;
    const bool there = SessionHasFiles();
    return scope.Finish(0) == 0 && there;
}

int FileStatesRead(const char *directory, const FileStateTake &take) {
    const std::string path = WithoutTrailingSlashes(directory);
    PathRange range = RangeUnder(path);
    RunScope scope;
    if (SessionLacksFiles())
        return scope.Finish(1);
    for (int portion = kFirstPortion;;) {
        const ResultHandle rows =
            RunRead(Catalogue::media, StatementOf(StoreOperation::statesInRange),
                    {TextValue(range.low), TextValue(range.high), VELUDBValue::Integer(portion)});
        if (rows == nullptr)
            return scope.Finish(-1);
        const bool folders = PortionTake(path.size(), rows.get(), &range.low, take);
        if (VELUDBRowCount(rows.get()) < portion)
            return scope.Finish(0);
        portion = folders ? kFirstPortion : std::min(4 * portion, kLastPortion);
    }
}

int FileStatesNext(const std::string &directory, const std::string &behind, const FileStateTake &take) {
    const std::string low = behind + kLeastPathByte;
    const PathRange all = RangeUnder(directory);
    RunScope scope;
    if (SessionLacksFiles())
        return scope.Finish(0);
    const ResultHandle rows =
        RunRead(Catalogue::media, StatementOf(StoreOperation::statesInRange),
                {TextValue(std::max(low, all.low)), TextValue(all.high), VELUDBValue::Integer(kLastPortion)});
    if (rows == nullptr)
        return scope.Finish(-1);
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;)
        take(VELUDBFetchText(rows.get(), row, "path"), VELUDBFetchText(rows.get(), row, "stamp"),
             VELUDBFetchText(rows.get(), row, "trouble"));
    return scope.Finish(0);
}

int FileHasCover(const char *path) {
    std::vector<FileRow> rows;
    return FileRowsOf(path, &rows) != 0 ? -1
                                        : static_cast<int>(std::ranges::any_of(rows, &FileRow::has_cover));
}

int FileStateOf(const char *path, FileState *state) {
    RunScope scope;
    if (SessionLacksFiles())
        return scope.Finish(0);
    const std::string key = path;
    const ResultHandle rows =
        RunRead(Catalogue::media, StatementOf(StoreOperation::stateOf), {TextValue(key)});
    if (rows == nullptr)
        return scope.Finish(-1);
    const bool there = VELUDBRowCount(rows.get()) > 0;
    if (there)
        *state = {VELUDBFetchText(rows.get(), 0, "stamp"), VELUDBFetchText(rows.get(), 0, "trouble")};
    return scope.Finish(there ? 1 : 0);
}

int FileRowsOf(const char *path, std::vector<FileRow> *rows) {
    RunScope scope;
    const std::string key = path;
    const ResultHandle found =
        RunRead(Catalogue::media, StatementOf(StoreOperation::rowsOfPath), {TextValue(key)});
    if (found == nullptr)
        return scope.Finish(-1);
    rows->clear();
    for (int row = -1; VELUDBFetchRow(found.get(), &row) == 0;)
        rows->push_back({atoi(VELUDBFetchText(found.get(), row, "kind")),
                         strtoull(VELUDBFetchText(found.get(), row, "file_size"), nullptr, 10),
                         VELUDBFetchText(found.get(), row, "modify_time"),
                         atoi(VELUDBFetchText(found.get(), row, "has_cover")) != 0});
    return scope.Finish(0);
}
