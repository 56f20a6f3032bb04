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
#include "platform/photo_record.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "photo_store.c";

// The tables of photo_image, video_desc and video_comment, whose rows follow the directory tree.
constexpr const char *kPathTables[] = {kPhotoTables[0], kPhotoTables[1], kPhotoTables[2]};

int BadParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

// The queue's operation codes that save a picture.
constexpr int kModeAdd = 1;
constexpr int kModeUpdate = 5;

template <size_t N>
std::string Text(const char (&field)[N]) {
    return CatalogueText(field, N, false);
}

// Moves a row to another path, in the place of the row that may be there.
int RenamePhoto(const std::string &old_path, const std::string &new_path) {
    static const int displace = StoreStatement("delete from photo_image where path = $1 and exists "
                                               "(select 1 from photo_image where path = $2)");
    static const int rename =
        StoreStatement("update photo_image set path = $1, name = $2, album = $3 where path = $4");
    const std::string folder = WithoutTrailingSlashes(new_path.substr(0, new_path.rfind('/') + 1));
    const std::string last = new_path.substr(new_path.rfind('/') + 1);
    const std::string above = folder.substr(folder.rfind('/') + 1);
    const std::string name = CatalogueText(last.data(), last.size(), false);
    const std::string album = CatalogueText(above.data(), above.size(), false);
    if (RunWrite(Catalogue::photo, displace, {TextValue(new_path), TextValue(old_path)}) < 0)
        return -1;
    const int renamed =
        RunWrite(Catalogue::photo, rename,
                 {TextValue(new_path), TextValue(name), TextValue(album), TextValue(old_path)});
    return renamed < 0 ? -1 : 0;
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
    return scope.Finish(RemoveRow(Catalogue::photo, kPhotoTables[0], path) < 0 ? -1 : 0);
}

int PhotoDBExec(const char *sql) {
    if (sql == nullptr || *sql == '\0')
        return BadParameter(__LINE__);
    RunScope scope;
    return scope.Finish(RunWriteText(Catalogue::photo, sql));
}

int PhotoInfoDBSave(const PhotoRecord *record, int mode) {
    if (record == nullptr || record->path[0] == '\0' || (mode != kModeAdd && mode != kModeUpdate))
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
    for (const PhotoPathList *node = list; node != nullptr; node = node->next) {
        const std::string path = node->path;
        if (path != from && path.compare(0, from.size() + 1, from + '/') != 0)
            continue;
        if (RenamePhoto(path, to + path.substr(from.size())) != 0)
            return scope.Finish(-1);
    }
    return scope.Finish(0);
}
