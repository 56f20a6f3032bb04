// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writing rows of the photo catalogue.
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/statements.h"
#include "platform/index/text.h"
#include "platform/path.h"
#include "platform/photo_record.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "photo_store.c";

// The tables whose rows follow the directory tree.
constexpr const char *kPathTables[] = {kPhotoTables[kPhotoTableImage], kPhotoTables[kPhotoTableVideoDesc],
                                       kPhotoTables[kPhotoTableVideoComment]};

int BadPhotoParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

template <size_t N>
std::string Text(const char (&field)[N]) {
    return CatalogueText(field, N, false);
}

// The title of a picture that nobody has given one, as the store keeps it.
std::string DefaultTitle(std::string_view path) {
    const std::string title(NameWithoutExtension(path).substr(0, kPhotoTextSize - 1));
    return CatalogueText(title.c_str(), kPhotoTextSize, false);
}

std::string_view RecordPath(const PhotoRecord &record) {
    return {record.path, strnlen(record.path, sizeof record.path)};
}

struct Renamed {
    std::string old_path;
    std::string new_path;
    std::string name;
    std::string album;
};

Renamed RenamedTo(const std::string &old_path, const std::string &new_path) {
    const std::string folder = WithoutTrailingSlashes(new_path.substr(0, new_path.rfind('/') + 1));
    const std::string last = new_path.substr(new_path.rfind('/') + 1);
    const std::string above = folder.substr(folder.rfind('/') + 1);
    return {old_path, new_path, CatalogueText(last), CatalogueText(above)};
}

// Moves a row to another path, in the place of the row that may be there.
int RenamePhoto(const Renamed &row) {
    if (RunWrite(Catalogue::photo, StatementOf(StoreOperation::displacePhoto),
                 {TextValue(row.new_path), TextValue(row.old_path)}) < 0)
        return -1;
    const std::string old_title = DefaultTitle(row.old_path);
    const std::string new_title = DefaultTitle(row.new_path);
    const int renamed = RunWrite(Catalogue::photo, StatementOf(StoreOperation::renamePhoto),
                                 {TextValue(row.new_path), TextValue(row.name), TextValue(row.album),
                                  TextValue(old_title), TextValue(new_title), TextValue(row.old_path)});
    return renamed < 0 ? -1 : 0;
}

// Moves kRenamedAtOnce rows, which keep their names, to paths that no row has.
int RenamePhotos(const std::vector<Renamed> &rows) {
    std::vector<VELUDBValue> values;
    for (const Renamed &row : rows)
        for (const std::string *text : {&row.old_path, &row.new_path, &row.name, &row.album})
            values.push_back(TextValue(*text));
    return RunWrite(Catalogue::photo, StatementOf(StoreOperation::renamePhotos), values.data(),
                    values.size()) < 0
               ? -1
               : 0;
}

int RenameEach(const std::vector<Renamed> &rows) {
    int result = 0;
    for (const Renamed &row : rows)
        if (RenamePhoto(row) != 0)
            result = -1;
    return result;
}

bool HasManyPaths(const PhotoPathList *list) {
    size_t count = 0;
    for (; list != nullptr && count < kRenamedAtOnce; list = list->next)
        ++count;
    return count == kRenamedAtOnce;
}

// True when no row has to give way, or to wait for another to move, so that rows may move in any order.
bool MayMoveTogether(const std::string &from, const std::string &to) {
    if (PathIsAtOrUnder(from, to) || PathIsAtOrUnder(to, from))
        return false;
    const PathRange range = RangeUnder(to);
    const ResultHandle rows = RunRead(Catalogue::photo, StatementOf(StoreOperation::photoInTree),
                                      {TextValue(to), TextValue(range.low), TextValue(range.high)});
    return rows != nullptr && VELUDBRowCount(rows.get()) == 0;
}

} // namespace

int PhotoInfoDBDirDelete(const char *path) {
    const std::string directory = WithoutTrailingSlashes(path != nullptr ? path : "");
    if (directory.empty()) // a tree without a name would be everything
        return BadPhotoParameter(__LINE__);
    RunScope scope;
    for (const char *table : kPathTables)
        if (RemoveTree(Catalogue::photo, table, directory) < 0)
            return scope.Finish(-1);
    return scope.Finish(0);
}

int PhotoInfoDBDelete(const char *path) {
    if (path == nullptr || *path == '\0')
        return BadPhotoParameter(__LINE__);
    RunScope scope;
    return scope.Finish(RemoveRow(Catalogue::photo, kPhotoTables[kPhotoTableImage], path) < 0 ? -1 : 0);
}

int PhotoDBExec(const char *sql) {
    if (sql == nullptr || *sql == '\0')
        return BadPhotoParameter(__LINE__);
    RunScope scope;
    return scope.Finish(RunWriteText(Catalogue::photo, sql));
}

// Who would write a row with the same id waits for the end of the transaction that has written one, also when it has removed
// it again. Where both are done again behind a failure, that program's album may have the id by then, and stays. Where one
// transaction at a time writes, the id is safe with whoever has begun to write.
int VELUPhotoShareIdReserve(int id) {
    RunScope scope;
    if (!RunIsShared(Catalogue::photo))
        return scope.Finish(1);
    const auto run = [&](StoreOperation operation) {
        return RunWrite(Catalogue::photo, StatementOf(operation), {VELUDBValue::Integer(id)});
    };
    const int reserved = run(StoreOperation::reserveAlbum);
    if (reserved <= 0)
        return scope.Finish(reserved);
    return scope.Finish(run(StoreOperation::releaseAlbum) < 0 ? -1 : 1);
}

int PhotoInfoDBSave(const PhotoRecord *record, int mode) {
    if (record == nullptr)
        return BadPhotoParameter(__LINE__);
    unsigned handed_over = 0;
    if (Text(record->title) != DefaultTitle(RecordPath(*record)))
        handed_over |= kPhotoTitle;
    if (!Text(record->description).empty())
        handed_over |= kPhotoDescription;
    return PhotoInfoDBSaveHandedOver(record, mode, handed_over);
}

int PhotoInfoDBSaveHandedOver(const PhotoRecord *record, int mode, unsigned handed_over) {
    if (record == nullptr || record->path[0] == '\0' || (mode != kIndexAdd && mode != kIndexUpdate))
        return BadPhotoParameter(__LINE__);
    const std::string title = Text(record->title);
    const std::string description = Text(record->description);
    const std::string texts[] = {Text(record->name),
                                 title,
                                 description,
                                 Text(record->album),
                                 Text(record->make),
                                 Text(record->model),
                                 Text(record->exposure),
                                 Text(record->fnumber),
                                 Text(record->date_taken),
                                 Text(record->create_time)};
    const std::string_view path = RecordPath(*record);
    std::vector<VELUDBValue> values = {VELUDBValue::Text(path.data(), path.size())};
    for (const std::string &text : texts)
        values.push_back(TextValue(text));
    for (const int64_t number :
         {int64_t{record->width}, int64_t{record->height}, int64_t{record->iso}, record->file_size})
        values.push_back(VELUDBValue::Integer(std::max<int64_t>(number, 0)));
    values.push_back((handed_over & kPhotoTitle) != 0 ? TextValue(title) : VELUDBValue());
    values.push_back((handed_over & kPhotoDescription) != 0 ? TextValue(description) : VELUDBValue());
    RunScope scope;
    return scope.Finish(
        RunWrite(Catalogue::photo, StatementOf(StoreOperation::savePhoto), values.data(), values.size()) < 0
            ? -1
            : 0);
}

int VELUPhotoInitAllRows() {
    RunScope scope;
    return scope.Finish(RunWriteText(Catalogue::photo, "update photo_image set updated = '0'") < 0 ? -1 : 0);
}

int VELUPhotoKeepRows(const char *path) {
    const std::string key = WithoutTrailingSlashes(path != nullptr ? path : "");
    if (key.empty())
        return BadPhotoParameter(__LINE__);
    const PathRange range = RangeUnder(key);
    RunScope scope;
    const int kept = RunWrite(Catalogue::photo, StatementOf(StoreOperation::keepPhotos),
                              {TextValue(key), TextValue(range.low), TextValue(range.high)});
    return scope.Finish(kept < 0 ? -1 : 0);
}

int VELUPhotoDeleteNoUpdateRows() {
    RunScope scope;
    return scope.Finish(
        RunWriteText(Catalogue::photo, "delete from photo_image where updated is null or updated <> '1'") < 0
            ? -1
            : 0);
}

int VELUIndexPhotoUpdateVideoStatus(const char *path) {
    if (path == nullptr || *path == '\0')
        return BadPhotoParameter(__LINE__);
    RunScope scope;
    return scope.Finish(
        RunWrite(Catalogue::photo, StatementOf(StoreOperation::markVideo), {TextValue(path)}) < 0 ? -1 : 0);
}

int VELUIndexPhotoVideosMove(const char *new_path, const char *old_path) {
    const std::string from = WithoutTrailingSlashes(old_path != nullptr ? old_path : "");
    const std::string to = WithoutTrailingSlashes(new_path != nullptr ? new_path : "");
    if (from.empty() || to.empty() || PathIsAtOrUnder(from, to) || PathIsAtOrUnder(to, from))
        return BadPhotoParameter(__LINE__);
    const PathRange range = RangeUnder(from);
    const auto write = [&](StoreOperation operation, int table) {
        return RunWrite(Catalogue::photo, StatementOf(operation, kPhotoTables[table]),
                        {TextValue(to), TextValue(from), TextValue(from), TextValue(range.low),
                         TextValue(range.high)}) >= 0;
    };
    RunScope scope;
    const bool moved = write(StoreOperation::displaceOwn, kPhotoTableVideoDesc) &&
                       write(StoreOperation::moveRows, kPhotoTableVideoDesc) &&
                       write(StoreOperation::moveRows, kPhotoTableVideoComment);
    return scope.Finish(moved ? 0 : -1);
}

int VELUUpdatePhotoPath(const PhotoPathList *list, const char *new_path, const char *old_path) {
    const std::string from = WithoutTrailingSlashes(old_path != nullptr ? old_path : "");
    const std::string to = WithoutTrailingSlashes(new_path != nullptr ? new_path : "");
    if (from.empty() || to.empty())
        return BadPhotoParameter(__LINE__);
    if (from == to)
        return 0;
    RunScope scope;
    bool together = HasManyPaths(list) && MayMoveTogether(from, to);
    std::vector<Renamed> portion;
    int result = 0;
    for (const PhotoPathList *node = list; node != nullptr; node = node->next) {
        const std::string path = node->path;
        if (!PathIsAtOrUnder(path, from))
            continue;
        together = together && path != from;
        portion.push_back(RenamedTo(path, to + path.substr(from.size())));
        if (portion.size() < kRenamedAtOnce)
            continue;
        together = together && RenamePhotos(portion) == 0;
        // A row that cannot be moved costs itself only.
        if (!together && RenameEach(portion) != 0)
            result = -1;
        portion.clear();
    }
    if (RenameEach(portion) != 0)
        result = -1;
    return scope.Finish(result);
}
