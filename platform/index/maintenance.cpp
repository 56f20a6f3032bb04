// SPDX-License-Identifier: GPL-2.0-or-later
//
// Emptying tables and compacting databases.
#include <string.h>
#include <syslog.h>

#include <new>
#include <string>

#include "platform/db/words.h"
#include "platform/index/file_tables.h"
#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/run_session.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "maintenance.c";

void LogFailure(Catalogue catalogue, const char *reason) {
    syslog(LOG_ERR, "%s (%d) Failed to compact the %s. (%s)", kLogName, __LINE__, CatalogueName(catalogue),
           reason);
}

int Compact(Catalogue catalogue) {
    // Not inside a transaction, which is why the batch is committed by asking for the connection.
    const StoreConnectionRef connection = RunConnection(catalogue);
    if (connection == nullptr)
        return -1;
    VELUDB *db = connection->db.get();
    if (VELUDBExecute(db, VELUDBWordsOf(db).compact, nullptr) >= 0)
        return 0;
    LogFailure(catalogue, VELUDBErrorGet(db));
    return -1;
}

int Vacuum(Catalogue catalogue) {
    RunScope scope;
    // Compacting takes long: the other catalogue must not stay locked for it. What is lost here for want of memory
    // was asked by others, who have to hear of it.
    VELUIndexRunFlush();
    int result = -1;
    try {
        result = Compact(catalogue);
    } catch (const std::bad_alloc &) {
        LogFailure(catalogue, "out of memory"); // it belongs to no request that would be done again
    }
    return scope.Finish(result);
}

template <size_t N>
bool IsOneOf(const char *name, const char *const (&tables)[N]) {
    for (const char *table : tables)
        if (strcmp(table, name) == 0)
            return true;
    return false;
}

int TruncateMedia(const char *table) {
    if (RemoveAllCovers(table) != 0)
        return -1;
    const int removed = RemoveAll(Catalogue::media, table);
    if (removed >= 0)
        MarkDirty(table);
    return removed;
}

// Not inside a batch, which cannot be written again with it.
int FileStatesForget() {
    const StoreConnectionRef connection = RunConnection(Catalogue::media);
    if (connection == nullptr)
        return -1;
    VELUDB *db = connection->db.get();
    if (FileStatesReconcile(db) == 0)
        return 0;
    const std::string reason = VELUDBErrorGet(db);
    if (RunBorrowedFailed(Catalogue::media, db))
        syslog(LOG_ERR, "%s (%d) The %s failed at [%s]. (%s)", kLogName, __LINE__,
               CatalogueName(Catalogue::media), kFileStateTable, reason.c_str());
    return -1;
}

int Refused(const char *table) {
    syslog(LOG_ERR, "%s (%d) There is no table [%s] to empty.", kLogName, __LINE__, table);
    return -1;
}

} // namespace

int MediaDBVacuum() {
    return Vacuum(Catalogue::media);
}

int PhotoDBVacuum() {
    return Vacuum(Catalogue::photo);
}

int VELUTruncateTable(const char *name) {
    const char *table = name != nullptr ? name : "";
    const bool media = IsOneOf(table, kMediaTables);
    const bool directory = strcmp(table, kDirectoryTable) == 0;
    const bool states = strcmp(table, kFileStateTable) == 0;
    if (!media && !directory && !states && !IsOneOf(table, kPhotoTables))
        return Refused(table);
    RunScope scope;
    if (states && !SessionHasFiles())
        return scope.Finish(Refused(table));
    if (states)
        return scope.Finish(FileStatesForget());
    const int removed =
        media ? TruncateMedia(table) : RemoveAll(directory ? Catalogue::media : Catalogue::photo, table);
    return scope.Finish(removed < 0 ? -1 : 0);
}
