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

// A picture in the media catalogue, by the names that the photo catalogue has.
#define PICTURE_COLUMNS                                                                                      \
    "camera_make as make, camera_model as model, exposure_time as exposure, f_number as fnumber, "           \
    "date_taken, width, height, iso_speed as iso"

// What a user wrote about the video stays.
constexpr char kMarkVideo[] =
    "insert into video_desc (path, title, description, updated) values ($1, '', '', '1') "
    "on conflict (path) do update set updated = excluded.updated";

// A list of `count` elements of so many values each, as a table whose columns are called column1 and so on. Parameters
// count from behind `before` of them.
std::string ValuesText(size_t count, size_t columns, size_t before) {
    std::string values;
    for (size_t i = 0; i < count; ++i) {
        values += i > 0 ? ", (" : "(";
        for (size_t column = 1; column <= columns; ++column)
            values += (column > 1 ? ", $" : "$") + std::to_string(before + columns * i + column);
        values += ")";
    }
    return "(values " + values + ") as v";
}

// The first parameters of a statement.
std::string ParametersText(size_t count) {
    std::string parameters;
    for (size_t i = 1; i <= count; ++i)
        parameters += (i > 1 ? ", $" : "$") + std::to_string(i);
    return parameters;
}

std::string RenamePhotosText() {
    constexpr size_t kColumns = 4;
    return "update photo_image set path = v.column2, name = v.column3, album = v.column4 from " +
           ValuesText(kRenamedAtOnce, kColumns, 0) + " where photo_image.path = v.column1";
}

constexpr char kSaveState[] =
    "insert into file_state (path, stamp, added, trouble, folded_name) values ($1, $2, $3, $4, $5) "
    "on conflict (path) do update set stamp = excluded.stamp, trouble = excluded.trouble, "
    "folded_name = excluded.folded_name";

// What fills up a statement has neither name nor position. The file is looked for once, not for each fact.
std::string SaveFactsText(size_t count) {
    const std::string file = "(select id from file_state where path = $1)";
    return "insert into file_fact (file, name, position, value, folded) "
           "select " +
           file + ", n.id, cast(v.column2 as integer), v.column3, v.column4 from " +
           ValuesText(count, kFactColumns, 1) + " cross join fact_name n where n.name = v.column1 and " +
           file + " is not null on conflict (file, name, position) do nothing";
}

std::string SaveEntriesText() {
    return "insert into file_entry (file, position, target, written, found, folded_name, unresolved) "
           "select s.id, cast(v.column1 as integer), v.column2, v.column3, v.column4, v.column5, "
           "case when v.column5 is not null then 1 end from (select id from file_state where path = $1) as "
           "s, " +
           ValuesText(kEntriesAtOnce, kEntryColumns, 1) +
           " where v.column1 is not null on conflict (file, position) do nothing";
}

std::string AddStatesText() {
    constexpr size_t kColumns = 2;
    return "insert into file_state (path, stamp, added, trouble) select v.column1, '', v.column2, '' from " +
           ValuesText(kStatesAtOnce, kColumns, 0) +
           " where v.column1 is not null on conflict (path) do nothing";
}

std::string FoldNamesText() {
    return "update file_state set folded_name = v.column2 from " +
           ValuesText(kFoldedAtOnce, kFoldNameColumns, 0) +
           " where file_state.id = cast(v.column1 as bigint)";
}

std::string FoldFactsText() {
    return "update file_fact set folded = v.column4 from " + ValuesText(kFoldedAtOnce, kFoldFactColumns, 0) +
           " where file_fact.file = cast(v.column1 as bigint) and file_fact.name = cast(v.column2 as "
           "integer) "
           "and file_fact.position = cast(v.column3 as integer)";
}

// Entries behind a place, in the order of an index.
#define ENTRIES_BEHIND                                                                                       \
    "from file_entry e join file_state s on s.id = e.file where e.unresolved = 1 and "                       \
    "(e.folded_name, e.file, e.position) > ($1, $2, $3) "                                                    \
    "order by e.folded_name, e.file, e.position limit $4"

std::string FilesNamedText() {
    return "select path, folded_name from file_state where folded_name in (" + ParametersText(kNamesAtOnce) +
           ") limit $" + std::to_string(kNamesAtOnce + 1);
}

std::string ResolveEntriesText() {
    return "update file_entry set found = v.column3, folded_name = v.column4, unresolved = null from " +
           ValuesText(kEntriesAtOnce, kResolvedColumns, 0) +
           " where file_entry.file = cast(v.column1 as bigint) and "
           "file_entry.position = cast(v.column2 as integer)";
}

// Where a path of a tree comes to that moves from $2 to $1, and which of its paths there are. Lengths count as the engine counts
// them, bytes or characters: a path is cut at a slash, where both agree.
#define MOVED_PATH "cast($1 as text) || substr(path, length(cast($2 as text)) + 1)"
#define OF_MOVED_TREE "path = $3 or (path >= $4 and path < $5)"

constexpr char kCopyStates[] = "insert into file_state (path, stamp, added, trouble) "
                               "select " MOVED_PATH ", '', added, '' from file_state where " OF_MOVED_TREE " "
                               "on conflict (path) do update set added = excluded.added";

// A stamp that says so has the letter behind the revision of the readers (catalogue/file_stamp).
std::string RenameMediaAlbumText(const std::string &table) {
    return "update " + table +
           " set album = $1 where path >= $2 and path < $3 and album = $4 and "
           "substr(path, length(cast($5 as text)) + 1) not like '%/%' and exists (select 1 from file_state s "
           "where s.path = " +
           table + ".path and s.stamp like '% r%A%')";
}

// `condition` goes before, and may be empty.
std::string RemoveLostStatesText(const std::string &condition) {
    std::string without_rows;
    for (const char *table : kMediaTables)
        without_rows += std::string(without_rows.empty() ? "" : " and ") + "not exists (select 1 from " +
                        table + " t where t.path = file_state.path)";
    return "delete from file_state where " + condition + without_rows;
}

// `condition` picks the rows from $1 on, in the order of their paths.
std::string CoversText(const std::string &table, const char *condition) {
    return "select path from " + table + " where " + condition + " and has_cover = 1 order by path limit " +
           std::to_string(kCoverRows);
}

std::string RowsOfPathText() {
    std::string text;
    for (int kind = 0; kind < static_cast<int>(std::size(kMediaTables)); ++kind)
        text += (kind == 0 ? "select " : " union all select ") + std::to_string(kind) +
                " as kind, file_size, modify_time, has_cover from " + kMediaTables[kind] + " where path = $1";
    return text;
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
    case StoreOperation::saveCover:
        return "update " + table + " set has_cover = $1 where path = $2";
    case StoreOperation::coverOfRow:
        return "select path from " + table + " where path = $1 and has_cover = 1";
    case StoreOperation::coversInRange:
        return CoversText(table, "path >= $1 and path < $2");
    case StoreOperation::coversFrom:
        return CoversText(table, "path >= $1");
    case StoreOperation::pathsInRange:
        return "select path from " + table + " where path >= $1 and path < $2 order by path limit $3";
    case StoreOperation::rowsOfPath:
        return RowsOfPathText();
    case StoreOperation::mediaInRange:
        return MediaInRangeText();
    case StoreOperation::pictureOf:
        return "select create_time, file_size, " PICTURE_COLUMNS " from photo where path = $1";
    case StoreOperation::picturesInRange:
        return "select path, create_time, file_size, " PICTURE_COLUMNS
               " from photo where path >= $1 and path < $2 order by path limit $3";
    case StoreOperation::libraryPicturesInRange:
        return "select path, create_time, file_size, make, model, exposure, fnumber, date_taken, width, "
               "height, iso "
               "from photo_image where path >= $1 and path < $2 order by path limit $3";
    case StoreOperation::markPhotos:
        return "update photo_image set updated = '1' where path in (" + ParametersText(kMarkedAtOnce) + ")";
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
    case StoreOperation::saveState:
        return kSaveState;
    case StoreOperation::saveTrouble:
        return "update file_state set stamp = v.column2, trouble = v.column3 from " + ValuesText(1, 3, 0) +
               " where file_state.path = v.column1";
    case StoreOperation::removeFacts:
        return "delete from file_fact where file = (select id from file_state where path = $1)";
    case StoreOperation::removeFactsOf:
        return "delete from file_fact where file = (select id from file_state where path = $1) "
               "and name = (select id from fact_name where name = $2)";
    case StoreOperation::saveFacts:
        return SaveFactsText(kFactsAtOnce);
    case StoreOperation::saveFewFacts:
        return SaveFactsText(kFewFacts);
    case StoreOperation::addFactName:
        return "insert into fact_name (name) values ($1) on conflict (name) do nothing";
    case StoreOperation::removeEntries:
        return "delete from file_entry where file = (select id from file_state where path = $1)";
    case StoreOperation::saveEntries:
        return SaveEntriesText();
    case StoreOperation::factsOf:
        return "select value from fact where path = $1 and name = $2 order by position";
    case StoreOperation::stateOf:
        return "select stamp, trouble from file_state where path = $1";
    case StoreOperation::statesInRange:
        return "select path, stamp, trouble from file_state where path >= $1 and path < $2 order by path "
               "limit $3";
    case StoreOperation::copyStates:
        return kCopyStates;
    case StoreOperation::displaceMedia:
        return "delete from " + table +
               " where path in (select " MOVED_PATH " from file_state where " OF_MOVED_TREE ")";
    case StoreOperation::displaceOwn:
        return "delete from " + table + " where path in (select " MOVED_PATH " from " + table +
               " where " OF_MOVED_TREE ")";
    case StoreOperation::moveRows:
        return "update " + table + " set path = " MOVED_PATH " where " OF_MOVED_TREE;
    case StoreOperation::moveMediaFile:
        return "update " + table +
               " set path = $1, title = case when title = $2 then $3 else title end, "
               "album = case when album = $4 then $5 else album end, create_time = coalesce($6, create_time) "
               "where path = $7";
    case StoreOperation::renameMediaAlbum:
        return RenameMediaAlbumText(table);
    case StoreOperation::stampState:
        return "update file_state set stamp = v.column2 from " + ValuesText(1, 2, 0) +
               " where file_state.path = v.column1";
    case StoreOperation::removeLostStates:
        return RemoveLostStatesText("");
    case StoreOperation::removeLostStatesIn:
        return RemoveLostStatesText("(path = $1 or (path >= $2 and path < $3)) and ");
    case StoreOperation::rowsWithoutState:
        return "select path, create_time, modify_time from " + table +
               " where path > $1 and not exists (select 1 from file_state s where s.path = " + table +
               ".path) order by path limit $2";
    case StoreOperation::addStates:
        return AddStatesText();
    case StoreOperation::filesFrom:
        return "select id, path, folded_name from file_state where id > $1 order by id limit $2";
    case StoreOperation::filesUnfolded:
        return "select id, path from file_state where folded_name is null and id > $1 order by id limit $2";
    case StoreOperation::foldNames:
        return FoldNamesText();
    case StoreOperation::factsOfFiles:
        return "select file, name, position, value, folded from file_fact where file > $1 and file <= $2";
    case StoreOperation::foldFacts:
        return FoldFactsText();
    case StoreOperation::unresolveEntries:
        return "update file_entry set unresolved = 1 where file > $1 and file <= $2 and folded_name is not "
               "null";
    case StoreOperation::claimEntries:
        return "update file_entry set unresolved = 1 where (file, position) in "
               "(select e.file, e.position " ENTRIES_BEHIND ")";
    case StoreOperation::unresolvedEntries:
        return "select e.file, e.position, e.target, e.written, e.folded_name, s.path " ENTRIES_BEHIND;
    case StoreOperation::filesNamed:
        return FilesNamedText();
    case StoreOperation::resolveEntries:
        return ResolveEntriesText();
    }
    return {};
}

#undef OF_MOVED_TREE
#undef MOVED_PATH
