// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/statements.h"

#include <string.h>

#include <iterator>

#include "platform/index/media_row.h"
#include "platform/index/schema.h"

namespace {

// Statement numbers are made with the places of the tables in this list.
constexpr const char *kTables[] = {
    kMediaTables[0],
    kMediaTables[1],
    kMediaTables[2],
    kMediaTables[3],
    kDirectoryTable,
    kPhotoTables[0],
    kPhotoTables[1],
    kPhotoTables[2],
    kPhotoTables[3],
    kPhotoTables[4],
    "", // what no table is called: the engine refuses such statements
};
constexpr int kTableCount = static_cast<int>(std::size(kTables));

constexpr char kSaveDirectory[] =
    "insert into directory (path, title, create_time, modify_time) values ($1, $2, $3, $4) "
    "on conflict (path) do update set title = excluded.title, create_time = excluded.create_time, "
    "modify_time = excluded.modify_time";

// A row that is there keeps what users have typed, unless they hand over something else.
constexpr char kSavePhoto[] =
    "insert into photo_image (path, name, title, description, album, make, model, exposure, fnumber, "
    "date_taken, "
    "create_time, width, height, iso, file_size, updated) values ($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, "
    "$11, "
    "$12, $13, $14, $15, '1') on conflict (path) do update set name = excluded.name, "
    "title = coalesce($16, photo_image.title, excluded.title), "
    "description = coalesce($17, photo_image.description, excluded.description), "
    "album = excluded.album, make = excluded.make, model = "
    "excluded.model, "
    "exposure = excluded.exposure, fnumber = excluded.fnumber, date_taken = excluded.date_taken, "
    "create_time = excluded.create_time, width = excluded.width, height = excluded.height, iso = "
    "excluded.iso, "
    "file_size = excluded.file_size, updated = excluded.updated";

// What a user wrote about the video stays.
constexpr char kMarkVideo[] =
    "insert into video_desc (path, title, description, updated) values ($1, '', '', '1') "
    "on conflict (path) do update set updated = excluded.updated";

std::string RenamePhotosText() {
    std::string values;
    for (size_t i = 0; i < kRenamedAtOnce; ++i) {
        values += i > 0 ? ", (" : "(";
        for (size_t column = 1; column <= 4; ++column)
            values += (column > 1 ? ", $" : "$") + std::to_string(4 * i + column);
        values += ")";
    }
    return "update photo_image set path = v.column2, name = v.column3, album = v.column4 from (values " +
           values + ") as v where photo_image.path = v.column1";
}

// `condition` picks the rows from $1 on, in the order of their paths.
std::string CoversText(const std::string &table, const char *condition) {
    return "select path from " + table + " where " + condition + " and has_cover = 1 order by path limit " +
           std::to_string(kCoverRows);
}

// One statement for all tables that rows of a directory may be in.
std::string MediaInRangeText() {
    std::string text;
    const auto add = [&](int kind, const char *table) {
        text += (text.empty() ? "select " : " union all select ") + std::to_string(kind) +
                " as kind, path from " + table + " where path >= $1 and path < $2";
    };
    for (int kind = 0; kind < static_cast<int>(std::size(kMediaTables)); ++kind)
        add(kind, kMediaTables[kind]);
    add(kMediaTree, kDirectoryTable);
    return text + " order by path limit $3";
}

} // namespace

int StatementOf(StoreOperation operation, const char *table) {
    int number = 0;
    while (number < kTableCount - 1 && strcmp(kTables[number], table) != 0)
        ++number;
    return static_cast<int>(operation) * kTableCount + number;
}

int StatementOf(StoreOperation operation) {
    return static_cast<int>(operation) * kTableCount;
}

std::string StatementText(int statement) {
    const std::string table = kTables[statement % kTableCount];
    switch (static_cast<StoreOperation>(statement / kTableCount)) {
    case StoreOperation::saveRow:
        return table == kDirectoryTable ? kSaveDirectory : MediaRowStatement(table.c_str());
    case StoreOperation::removeRow:
        return "delete from " + table + " where path = $1";
    case StoreOperation::removeTree:
        // A range of the key, so that the cost does not grow with the table.
        return "delete from " + table + " where path = $1 or (path >= $2 and path < $3)";
    case StoreOperation::coverOfRow:
        return "select path from " + table + " where path = $1 and has_cover = 1";
    case StoreOperation::coversInRange:
        return CoversText(table, "path >= $1 and path < $2");
    case StoreOperation::coversFrom:
        return CoversText(table, "path >= $1");
    case StoreOperation::pathsInRange:
        return "select path from " + table + " where path >= $1 and path < $2 order by path limit $3";
    case StoreOperation::mediaInRange:
        return MediaInRangeText();
    case StoreOperation::keepPhotos:
        return "update photo_image set updated = '1' where path = $1 or (path >= $2 and path < $3)";
    case StoreOperation::savePhoto:
        return kSavePhoto;
    case StoreOperation::displacePhoto:
        return "delete from photo_image where path = $1 and exists (select 1 from photo_image where path = "
               "$2)";
    case StoreOperation::renamePhoto:
        return "update photo_image set path = $1, name = $2, album = $3, "
               "title = case when title = $4 then $5 else title end where path = $6";
    case StoreOperation::renamePhotos:
        return RenamePhotosText();
    case StoreOperation::photoInTree:
        return "select path from photo_image where path = $1 or (path >= $2 and path < $3) limit 1";
    case StoreOperation::markVideo:
        return kMarkVideo;
    case StoreOperation::reserveAlbum:
        return "insert into photo_share (shareid) values ($1) on conflict (shareid) do nothing";
    case StoreOperation::releaseAlbum:
        return "delete from photo_share where shareid = $1 and sharename is null";
    }
    return {};
}
