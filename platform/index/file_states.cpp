// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading the states of files: a directory's at once, through the index of their paths, or one.
#include "platform/index/file_state.h"

#include <stdlib.h>

#include <algorithm>
#include <string_view>

#include "platform/index/directory_rows.h"
#include "platform/index/run.h"
#include "platform/index/run_session.h"
#include "platform/index/schema.h"
#include "platform/index/statements.h"
#include "platform/limits.h"
#include "platform/path.h"
#include "platform/veluindex.h"

namespace {

// The states that are read at a time.
constexpr int kPortion = 2048;

} // namespace

bool FileTablesThere() {
    RunScope scope;
    const bool there = SessionHasFiles();
    return scope.Finish(0) == 0 && there;
}

bool FileTablesAreMade() {
    char uri[kCatalogueUriSize];
    if (VELUIndexUriGet(Catalogue::media, uri, sizeof uri) != 0 || VELUDBIsMissing(uri))
        return false;
    const DatabaseHandle db(VELUDBOpen(uri, CatalogueName(Catalogue::media), false));
    bool made = false;
    return db != nullptr && SchemaVersion(db.get(), kVersionTable, &made) >= 0 && made;
}

int FileStatesRead(const char *directory, const FileStateTake &take) {
    RunScope scope;
    if (SessionLacksFiles())
        return scope.Finish(1);
    return scope.Finish(DirectoryRowsRead(Catalogue::media, StoreOperation::statesInRange, directory,
                                          [&](std::string_view name, const VELUDBResult *rows, int row) {
                                              take(name, VELUDBFetchText(rows, row, "stamp"),
                                                   VELUDBFetchText(rows, row, "trouble"));
                                          }));
}

int FileStatesNext(const std::string &directory, const std::string &behind, const FileStateTake &take) {
    const std::string low = behind + kLeastPathByte;
    const PathRange all = RangeUnder(directory);
    RunScope scope;
    if (SessionLacksFiles())
        return scope.Finish(0);
    const ResultHandle rows =
        RunRead(Catalogue::media, StatementOf(StoreOperation::statesInRange),
                {TextValue(std::max(low, all.low)), TextValue(all.high), VELUDBValue::Integer(kPortion)});
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

int FileFactsOf(const char *path, std::string_view name, std::vector<std::string> *values) {
    values->clear();
    RunScope scope;
    if (SessionLacksFiles())
        return scope.Finish(0);
    const std::string key = path;
    const ResultHandle found =
        RunRead(Catalogue::media, StatementOf(StoreOperation::factsOf), {TextValue(key), TextValue(name)});
    if (found == nullptr)
        return scope.Finish(-1);
    for (int row = -1; VELUDBFetchRow(found.get(), &row) == 0;)
        values->emplace_back(VELUDBFetchText(found.get(), row, "value"));
    return scope.Finish(0);
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
