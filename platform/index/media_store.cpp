// SPDX-License-Identifier: GPL-2.0-or-later
//
// Saving and removing rows of the media catalogue.
#include <errno.h>
#include <string.h>
#include <syslog.h>

#include <string>

#include "platform/index/file_move.h"
#include "platform/index/media_row.h"
#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/run_state.h"
#include "platform/index/statements.h"
#include "platform/index/text.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "media_store.c";

int BadParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

// True for an error of looking at something that may be there.
bool IsOutOfSight(int error) {
    return error == EACCES || error == EIO || error == ESTALE || error == ETIMEDOUT;
}

// Sets the table's dirty marker after a delete of `removed` rows, also of none: a request that is carried out
// again after a crash may have removed them before. Passes a failure on.
int Removed(const char *table, int removed) {
    if (removed >= 0) {
        MarkDirty(table);
        run_state.account.removed += static_cast<uint64_t>(removed);
    }
    return removed < 0 ? -1 : 0;
}

// What is known of the files goes along with a rename before it goes with its rows, and covers go before rows: after a crash between the two, the same delete finds what is left.
int RemoveMediaRow(const char *table, const std::string &path) {
    FileMoveTakeAlong(path);
    return RemoveRowCovers(table, path) != 0 ? -1 : Removed(table, RemoveRow(Catalogue::media, table, path));
}

int RemoveMediaTree(const std::string &directory) {
    FileMoveTakeAlong(directory);
    for (const char *table : kMediaTables) {
        if (RemoveTreeCovers(table, directory) != 0)
            return -1;
        if (Removed(table, RemoveTree(Catalogue::media, table, directory)) != 0)
            return -1;
    }
    return RemoveTree(Catalogue::media, kDirectoryTable, directory) < 0 ? -1 : 0;
}

} // namespace

bool MediaRowIsGood(int kind, const MediaInfo *record) {
    if (kind >= kMediaMusic && kind <= kMediaPlaylist && record != nullptr && record->path[0] != '\0')
        return true;
    BadParameter(__LINE__);
    return false;
}

void MediaRowSaved(int kind, const MediaInfo &record) {
    MarkDirty(kMediaTables[kind]);
    SavedRowAdd(&run_state.saved, kind, record.path);
}

int MediaInfoDBSave(int kind, const MediaInfo *record) {
    if (!MediaRowIsGood(kind, record))
        return -1;
    RunScope scope;
    const MediaRow row = MediaRowOf(*record);
    const int saved = RunWrite(Catalogue::media, StatementOf(StoreOperation::saveRow, kMediaTables[kind]),
                               row.values.data(), row.values.size());
    if (saved >= 0)
        MediaRowSaved(kind, *record);
    return scope.Finish(saved < 0 ? -1 : 0);
}

int MediaInfoDBDelete(int kind, const char *path) {
    const bool one_table = kind >= kMediaMusic && kind <= kMediaPlaylist;
    if ((!one_table && kind != kMediaTree) || path == nullptr)
        return BadParameter(__LINE__);
    const std::string key = one_table ? path : WithoutTrailingSlashes(path);
    if (key.empty()) // a tree without a name would be everything
        return BadParameter(__LINE__);
    RunScope scope;
    return scope.Finish(one_table ? RemoveMediaRow(kMediaTables[kind], key) : RemoveMediaTree(key));
}

int MediaInfoDBDirSave(const char *path) {
    const std::string directory = WithoutTrailingSlashes(path != nullptr ? path : "");
    if (directory.empty())
        return BadParameter(__LINE__);
    const std::string title = CatalogueText(directory.substr(directory.rfind('/') + 1));
    char create_time[kMediaTimeSize] = "";
    char modify_time[kMediaTimeSize] = "";
    // A directory that is already gone again is recorded all the same, with empty times. One that cannot be looked at keeps
    // those that it has.
    errno = 0;
    if (VELUIndexCTimeMTimeGet(directory.c_str(), create_time, sizeof create_time, modify_time,
                               sizeof modify_time) != 0 &&
        IsOutOfSight(errno))
        return -1;
    RunScope scope;
    const int saved =
        RunWrite(Catalogue::media, StatementOf(StoreOperation::saveRow, kDirectoryTable),
                 {TextValue(directory), TextValue(title), VELUDBValue::Text(create_time, strlen(create_time)),
                  VELUDBValue::Text(modify_time, strlen(modify_time))});
    return scope.Finish(saved < 0 ? -1 : 0);
}
