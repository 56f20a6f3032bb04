// SPDX-License-Identifier: GPL-2.0-or-later
//
// Telling a full disk from one that fails.
#include <errno.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "platform/db/sqlite_connection.h"

namespace {

constexpr int kPrimaryCode = 0xff; // an extended result code carries its primary code in the low byte

// What SQLite adds at a time to the index of its log (sqlite.org, "WAL-mode File Format").
constexpr uint64_t kRoomMin = 32 * 1024;

bool DiskIsFull(sqlite3 *db) {
    const int error = sqlite3_system_errno(db);
    if (error == ENOSPC || error == EDQUOT)
        return true;
    const char *file = sqlite3_db_filename(db, "main");
    struct statvfs system = {};
    if (file == nullptr || statvfs(file, &system) != 0 || system.f_blocks == 0 ||
        (system.f_flag & ST_RDONLY) != 0)
        return false;
    const uint64_t free = geteuid() == 0 ? system.f_bfree : system.f_bavail;
    return free * system.f_frsize < kRoomMin;
}

} // namespace

SqliteFailure SqliteFailureOf(sqlite3 *db, int code) {
    const int primary = code & kPrimaryCode;
    if ((primary == SQLITE_IOERR || primary == SQLITE_CANTOPEN) && DiskIsFull(db))
        return {SQLITE_FULL, sqlite3_errstr(SQLITE_FULL)};
    return {code, sqlite3_errmsg(db)};
}
