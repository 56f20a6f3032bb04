// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening an SQLite file the way the catalogues need it.
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>

#include <memory>

#include "platform/db/sqlite_connection.h"
#include "platform/db/sqlite_spill.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/own_group.h"
#include "platform/veludb.h"

int sqlite_busy_milliseconds = kDatabaseBusyMilliseconds;

namespace {

// What SQLite makes beside a database, with its mode.
constexpr const char *kBeside[] = {"", "-wal", "-shm"};

// The log is kept between runs and must not stay as large as the largest run has made it.
constexpr char kKeptLogLimit[] = "pragma journal_size_limit = 1048576";

// In KiB. Rows come in the order of their folders, so that a batch touches few pages; the 2,000 that SQLite takes by
// itself are filled in the course of a large run and gain nothing. With 512 for each of two catalogues the daemon comes to more
// than 8 MiB over a large photo share.
constexpr char kPageCache[] = "pragma cache_size = -384";

// Bytes of pages that a statement may change before what they were goes to a file for the rest of its batch. The facts of one
// media file change some 6 pages, and now and then 20; with the 64 KiB that SQLite takes by itself each batch soon wrote all of
// them twice, which was more than everything else that a row takes.
constexpr int kStatementJournal = 256 << 10;

// For the process, as long as it has opened nothing yet; later it is as if it had not been. Nobody asks how much memory SQLite has,
// and counting that takes a lock for each piece.
void LibrarySetUp() {
    static_cast<void>(sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0)); // before any file is
    static_cast<void>(SqliteSpillSetUp(kStatementJournal));
}

// The daemon runs with an empty umask, so that modes are given in full: its owner alone may change the catalogue.
bool MakeFolders(const std::string &file, std::string *error) {
    for (size_t slash = file.find('/', 1); slash != std::string::npos; slash = file.find('/', slash + 1)) {
        const std::string folder = file.substr(0, slash);
        if (mkdir(folder.c_str(), OwnFolderMode()) != 0 && errno != EEXIST) {
            *error = folder + ": " + strerror(errno);
            return false;
        }
    }
    return true;
}

// SQLite makes its files 0644 by itself, and those beside a database as that is. A file that is there is never opened here: to
// close it would give up the locks of other connections.
void FileMake(const std::string &file) {
    if (OwnGroupHolds())
        static_cast<void>(FdHandle(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, OwnFileMode())));
}

void FilesGive(const std::string &file) {
    for (const char *beside : kBeside)
        OwnGroupGive((file + beside).c_str());
}

const char *Reason(sqlite3 *db) {
    return SqliteFailureOf(db, sqlite3_errcode(db)).words;
}

// Readers go on reading while the daemon writes (WAL); a commit reaches the disk at the next checkpoint or
// VELUDBSync, and what is in the file is whole at any time. Returns what failed, or an empty text.
std::string SetUp(sqlite3 *db) {
    if (SqliteLikeInstall(db) != SQLITE_OK || SqliteFoldingInstall(db) != SQLITE_OK ||
        sqlite3_busy_timeout(db, sqlite_busy_milliseconds) != SQLITE_OK)
        return Reason(db);
    sqlite3_stmt *raw = nullptr;
    if (sqlite3_prepare_v2(db, "pragma journal_mode = wal", -1, &raw, nullptr) != SQLITE_OK)
        return Reason(db);
    const SqliteStatement statement(raw);
    if (sqlite3_step(raw) != SQLITE_ROW)
        return Reason(db);
    const auto *mode = reinterpret_cast<const char *>(sqlite3_column_text(raw, 0));
    if (mode == nullptr || strcasecmp(mode, "wal") != 0)
        return "its file system has no write-ahead log";
    if (sqlite3_exec(db, "pragma synchronous = normal", nullptr, nullptr, nullptr) != SQLITE_OK)
        return Reason(db);
    // A reader without the right to write cannot make the log's files; so they stay, cut back, while nobody has the
    // database open.
    int keep_log = 1;
    if (sqlite3_file_control(db, "main", SQLITE_FCNTL_PERSIST_WAL, &keep_log) != SQLITE_OK ||
        sqlite3_exec(db, kKeptLogLimit, nullptr, nullptr, nullptr) != SQLITE_OK ||
        sqlite3_exec(db, kPageCache, nullptr, nullptr, nullptr) != SQLITE_OK)
        return Reason(db);
    return {};
}

} // namespace

void *SqliteOpen(const char *uri, std::string *error) {
    LibrarySetUp();
    const std::string file = VELUDBFileGet(uri);
    // The daemon changes its working directory, so a relative path would name a different file every time.
    if (file.empty() || file.front() != '/' || file.back() == '/') {
        *error = file + ": not an absolute file name";
        return nullptr;
    }
    if (!MakeFolders(file, error))
        return nullptr;
    FileMake(file);
    auto connection = std::make_unique<SqliteConnection>();
    sqlite3 *raw = nullptr;
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int result = sqlite3_open_v2(file.c_str(), &raw, kFlags, nullptr);
    connection->db.reset(raw);
    const std::string failure = result != SQLITE_OK ? Reason(raw) : SetUp(raw);
    if (!failure.empty()) {
        *error = file + ": " + failure;
        return nullptr;
    }
    FilesGive(file);
    return connection.release();
}
