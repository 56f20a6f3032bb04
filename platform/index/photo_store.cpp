// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writing rows of the photo catalogue.
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/text.h"
#include "platform/path.h"
#include "platform/photo_record.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "photo_store.c";

// The tables whose rows follow the directory tree.
constexpr const char *kPathTables[] = {kPhotoTables[kPhotoTableImage], kPhotoTables[kPhotoTableVideoDesc],
                                       kPhotoTables[kPhotoTableVideoComment]};

int BadParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

template <size_t N>
std::string Text(const char (&field)[N]) {
    return CatalogueText(field, N, false);
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
    return {old_path, new_path, CatalogueText(last.data(), last.size(), false),
            CatalogueText(above.data(), above.size(), false)};
}

// Moves a row to another path, in the place of the row that may be there.
int RenamePhoto(const Renamed &row) {
    static const int displace = StoreStatement("delete from photo_image where path = $1 and exists "
                                               "(select 1 from photo_image where path = $2)");
    static const int rename =
        StoreStatement("update photo_image set path = $1, name = $2, album = $3 where path = $4");
    if (RunWrite(Catalogue::photo, displace, {TextValue(row.new_path), TextValue(row.old_path)}) < 0)
        return -1;
    const int renamed = RunWrite(
        Catalogue::photo, rename,
        {TextValue(row.new_path), TextValue(row.name), TextValue(row.album), TextValue(row.old_path)});
    return renamed < 0 ? -1 : 0;
}

// A server takes as long to answer a statement about so many rows as one about a few.
constexpr size_t kRenamedAtOnce = 50;

// Moves kRenamedAtOnce rows to paths that no row has.
int RenamePhotos(const std::vector<Renamed> &rows) {
    static const int statement = [] {
        std::string values;
        for (size_t i = 0; i < kRenamedAtOnce; ++i) {
            values += i > 0 ? ", (" : "(";
            for (size_t column = 1; column <= 4; ++column)
                values += (column > 1 ? ", $" : "$") + std::to_string(4 * i + column);
            values += ")";
        }
        return StoreStatement(
            "update photo_image set path = v.column2, name = v.column3, album = v.column4 from "
            "(values " +
            values + ") as v where photo_image.path = v.column1");
    }();
    std::vector<VELUDBValue> values;
    for (const Renamed &row : rows)
        for (const std::string *text : {&row.old_path, &row.new_path, &row.name, &row.album})
            values.push_back(TextValue(*text));
    return RunWrite(Catalogue::photo, statement, values.data(), values.size()) < 0 ? -1 : 0;
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
    static const int statement =
        StoreStatement("select path from photo_image where path = $1 or (path >= $2 and path < $3) limit 1");
    if (PathIsAtOrUnder(from, to) || PathIsAtOrUnder(to, from))
        return false;
    const PathRange range = RangeUnder(to);
    VELUDBResult *rows =
        RunRead(Catalogue::photo, statement, {TextValue(to), TextValue(range.low), TextValue(range.high)});
    const bool free = rows != nullptr && VELUDBRowCount(rows) == 0;
    VELUDBFreeResult(rows);
    return free;
}

} // namespace

int PhotoInfoDBDirDelete(const char *path) {
    const std::string directory = WithoutTrailingSlashes(path != nullptr ? path : "");
    if (directory.empty()) // a tree without a name would be everything
        return BadParameter(__LINE__);
    RunScope scope;
    for (const char *table : kPathTables)
        if (RemoveTree(Catalogue::photo, table, directory) < 0)
            return scope.Finish(-1);
    return scope.Finish(0);
}

int PhotoInfoDBDelete(const char *path) {
    if (path == nullptr || *path == '\0')
        return BadParameter(__LINE__);
    RunScope scope;
    return scope.Finish(RemoveRow(Catalogue::photo, kPhotoTables[kPhotoTableImage], path) < 0 ? -1 : 0);
}

int PhotoDBExec(const char *sql) {
    if (sql == nullptr || *sql == '\0')
        return BadParameter(__LINE__);
    RunScope scope;
    return scope.Finish(RunWriteText(Catalogue::photo, sql));
}

int PhotoInfoDBSave(const PhotoRecord *record, int mode) {
    if (record == nullptr || record->path[0] == '\0' || (mode != kIndexAdd && mode != kIndexUpdate))
        return BadParameter(__LINE__);
    static const int statement = StoreStatement(
        "insert into photo_image (path, name, title, description, album, make, model, exposure, fnumber, "
        "date_taken, "
        "create_time, width, height, iso, file_size, updated) values ($1, $2, $3, $4, $5, $6, $7, $8, $9, "
        "$10, $11, "
        "$12, $13, $14, $15, '1') on conflict (path) do update set name = excluded.name, title = "
        "excluded.title, "
        "description = excluded.description, album = excluded.album, make = excluded.make, model = "
        "excluded.model, "
        "exposure = excluded.exposure, fnumber = excluded.fnumber, date_taken = excluded.date_taken, "
        "create_time = excluded.create_time, width = excluded.width, height = excluded.height, iso = "
        "excluded.iso, "
        "file_size = excluded.file_size, updated = excluded.updated");
    const std::string texts[] = {Text(record->name),       Text(record->title),   Text(record->description),
                                 Text(record->album),      Text(record->make),    Text(record->model),
                                 Text(record->exposure),   Text(record->fnumber), Text(record->date_taken),
                                 Text(record->create_time)};
    std::vector<VELUDBValue> values = {
        VELUDBValue::Text(record->path, strnlen(record->path, sizeof record->path))};
    for (const std::string &text : texts)
        values.push_back(TextValue(text));
    for (const int64_t number :
         {int64_t{record->width}, int64_t{record->height}, int64_t{record->iso}, record->file_size})
        values.push_back(VELUDBValue::Integer(std::max<int64_t>(number, 0)));
    RunScope scope;
    return scope.Finish(RunWrite(Catalogue::photo, statement, values.data(), values.size()) < 0 ? -1 : 0);
}

int VELUPhotoInitAllRows() {
    RunScope scope;
    return scope.Finish(RunWriteText(Catalogue::photo, "update photo_image set updated = '0'") < 0 ? -1 : 0);
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
        return BadParameter(__LINE__);
    // What a user wrote about the video stays.
    static const int statement =
        StoreStatement("insert into video_desc (path, title, description, updated) values ($1, '', '', '1') "
                       "on conflict (path) do update set updated = excluded.updated");
    RunScope scope;
    return scope.Finish(RunWrite(Catalogue::photo, statement, {TextValue(path)}) < 0 ? -1 : 0);
}

int VELUUpdatePhotoPath(const PhotoPathList *list, const char *new_path, const char *old_path) {
    const std::string from = WithoutTrailingSlashes(old_path != nullptr ? old_path : "");
    const std::string to = WithoutTrailingSlashes(new_path != nullptr ? new_path : "");
    if (from.empty() || to.empty())
        return BadParameter(__LINE__);
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
