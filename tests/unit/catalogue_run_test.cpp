// SPDX-License-Identifier: GPL-2.0-or-later
//
// Runs, batches and what may go wrong with the database behind them.
#include "catalogue_fixture.h"

#include <sqlite3.h>

#include <chrono>

#include "platform/limits.h"
#include "tests/unit/test_files.h"

namespace {

class CatalogueRun : public CatalogueStore {};
ON_ALL_ENGINES(CatalogueRun);
using SqliteRun = SqliteStore;

TEST_F(SqliteRun, VacuumShrinksTheFileAndCommitsTheBatch) {
    VELUIndexRunBegin();
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(Save(0, "/m/" + std::to_string(i), std::string(250, 'x')), 0);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    const auto full = std::filesystem::file_size("/var/lib/velu/mediaserver.db");
    VELUIndexRunBegin();
    ASSERT_EQ(VELUTruncateTable("music"), 0);
    ASSERT_EQ(Save(0, "/kept"), 0);
    EXPECT_EQ(MediaDBVacuum(), 0);
    EXPECT_EQ(Paths("music"), "/kept") << "committed before the end of the run";
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_LT(std::filesystem::file_size("/var/lib/velu/mediaserver.db"), full / 2);
    EXPECT_EQ(PhotoDBVacuum(), 0);
}

TEST_F(SqliteRun, VacuumFailsWhileAnotherWriterHoldsTheDatabase) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    ASSERT_EQ(VELUDBBegin(peer.db), 0);
    sqlite_busy_milliseconds = 50;
    LogCatcher log;
    EXPECT_LT(MediaDBVacuum(), 0);
    EXPECT_EQ(log.Lines("locked").size(), 1u);
}

TEST_F(SqliteRun, TheConfigurationNamesTheDatabases) {
    std::ofstream(kConfig) << "mediadb=\"sqlite:/tmp/other/m.db\"\nphotodb=\"sqlite:/tmp/other/p.db\"\n";
    EXPECT_EQ(Save(0, "/a"), 0);
    EXPECT_EQ(PhotoInfoDBDirDelete("/a"), 0);
    EXPECT_EQ(Peer("sqlite:/tmp/other/m.db").Paths("music"), "/a");
    EXPECT_TRUE(std::filesystem::exists("/tmp/other/p.db"));
    EXPECT_FALSE(std::filesystem::exists("/var/lib/velu/mediaserver.db"));
    std::filesystem::remove_all("/tmp/other");
}

TEST_P(CatalogueRun, ReadersSeeWholeBatchesOnly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer reader;
    VELUIndexRunBegin();
    for (size_t i = 0; i < kBatchRowsMax - 1; ++i)
        ASSERT_EQ(Save(0, "/m/" + std::to_string(i)), 0);
    EXPECT_EQ(reader.Count("music"), 1);
    ASSERT_EQ(Save(0, "/m/499"), 0);
    EXPECT_EQ(reader.Count("music"), 501) << "the batch is full";
    ASSERT_EQ(Save(0, "/m/500"), 0);
    EXPECT_EQ(reader.Count("music"), 501);
    ASSERT_EQ(VELUIndexRunFlush(), 0);
    EXPECT_EQ(reader.Count("music"), 502);
    ASSERT_EQ(Save(0, "/m/501"), 0);
    EXPECT_EQ(reader.Count("music"), 502);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(reader.Count("music"), 503);
}

TEST_P(CatalogueRun, ABatchOlderThanASecondIsCommittedByTheNextWrite) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer reader;
    VELUIndexRunBegin();
    ASSERT_EQ(Save(0, "/a"), 0);
    run_now += kBatchMillisecondsMax - 1;
    ASSERT_EQ(Save(0, "/b"), 0);
    EXPECT_EQ(reader.Count("music"), 1);
    run_now += 1;
    EXPECT_EQ(reader.Count("music"), 1);
    ASSERT_EQ(Save(0, "/c"), 0);
    EXPECT_EQ(reader.Count("music"), 3);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
}

TEST_P(CatalogueRun, ABatchOfLongTextsIsCommittedEarly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer reader;
    VELUIndexRunBegin();
    // Each row takes somewhat more than its path, so that the bound comes a little before this many paths fill it.
    constexpr size_t kLength = 4000;
    constexpr size_t kRows = kBatchBytesMax / kLength;
    size_t row = 0;
    for (; row < kRows * 3 / 4; ++row)
        ASSERT_EQ(Save(0, "/" + std::string(kLength, 'x') + std::to_string(row)), 0);
    EXPECT_EQ(reader.Count("music"), 1);
    for (; row < kRows; ++row)
        ASSERT_EQ(Save(0, "/" + std::string(kLength, 'x') + std::to_string(row)), 0);
    EXPECT_GT(reader.Count("music"), 1);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
}

// Makes rows with the title "bad" fail. On SQLite `abort` undoes the statement and `rollback` gives the whole
// transaction up, as PostgreSQL always does.
std::vector<std::string> BadRowTrigger(bool sqlite, const std::string &kind) {
    if (sqlite)
        return {"create trigger bad before insert on music when new.title = 'bad' begin select raise(" +
                kind + ", 'bad row'); end"};
    return {
        "create or replace function bad() returns trigger language plpgsql as "
        "'begin raise exception ''bad row''; end'",
        "create trigger bad before insert on music for each row when (new.title = 'bad') execute function "
        "bad()"};
}

TEST_P(CatalogueRun, ABadRowOfABatchLosesItselfOnly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    for (const std::string kind : {"abort", "rollback"}) {
        Peer peer;
        for (const std::string &sql : BadRowTrigger(OnSqlite(), kind))
            ASSERT_EQ(peer.Exec(sql), 0);
        LogCatcher log;
        VELUIndexRunBegin();
        ASSERT_EQ(Save(0, "/1"), 0);
        ASSERT_EQ(Save(0, "/2"), 0);
        EXPECT_EQ(Save(0, "/3", "bad"), -1);
        ASSERT_EQ(Save(0, "/4"), 0);
        EXPECT_EQ(VELUIndexRunEnd(), 0) << "the store was there";
        EXPECT_EQ(peer.Paths("music"), "/1|/2|/4|/first") << kind;
        EXPECT_EQ(log.Lines().size(), 1u);
        EXPECT_EQ(log.Lines("[/3]").size(), 1u);
        EXPECT_EQ(log.Lines("bad row").size(), 1u);
        ASSERT_EQ(peer.Exec(OnSqlite() ? "drop trigger bad" : "drop trigger bad on music"), 0);
        ASSERT_EQ(peer.Exec("delete from music where path <> '/first'"), 3);
    }
}

TEST_F(SqliteRun, ABatchWhoseCommitFailsIsWrittenRowByRow) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    ASSERT_EQ(peer.Exec("create table parent (x text primary key)"), 0);
    ASSERT_EQ(peer.Exec("create table child (x text references parent (x) deferrable initially deferred)"),
              0);
    ASSERT_EQ(peer.Exec("create table strict (x text check (x <> 'bad'))"), 0);
    ASSERT_EQ(
        peer.Exec("create trigger copy after insert on music begin insert into child values ('nobody'); "
                  "insert into strict values (new.title); end"),
        0);
    LogCatcher log;
    VELUIndexRunBegin();
    // On the run's first connection alone every row passes and the commit does not.
    VELUIndexRows *rows = MediaInfoDBOpen(0, "path", nullptr, nullptr, 0);
    ASSERT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "pragma foreign_keys = on", nullptr), 0);
    ASSERT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "pragma ignore_check_constraints = on", nullptr),
              0);
    MediaInfoDBClose(rows); // the run goes on with the connection
    ASSERT_EQ(Save(0, "/1"), 0);
    ASSERT_EQ(Save(0, "/2", "bad"), 0);
    ASSERT_EQ(Save(0, "/3"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaMusic, "/first"), 0);
    ASSERT_EQ(MediaInfoDBDirSave("/d"), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0) << "the store was there";
    EXPECT_EQ(peer.Paths("music"), "/1|/3");
    EXPECT_EQ(peer.Paths("directory"), "/d");
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines("[/2]").size(), 1u);
    EXPECT_EQ(log.Lines("CHECK constraint").size(), 1u);
}

// A reader of rows may run statements of its own on their connection, which no batch would do again.
TEST_P(CatalogueRun, WritesStandForThemselvesWhileRowsAreBeingRead) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    VELUIndexRunBegin();
    VELUIndexRows *rows = MediaInfoDBOpen(0, "path", nullptr, nullptr, 0);
    ASSERT_EQ(Save(0, "/during"), 0);
    EXPECT_EQ(peer.Paths("music"), "/during|/first");
    MediaInfoDBClose(rows);
    ASSERT_EQ(Save(0, "/after"), 0);
    EXPECT_EQ(peer.Paths("music"), "/during|/first");
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(peer.Paths("music"), "/after|/during|/first");
}

TEST_F(SqliteRun, AStoreLockedPastTheTimeoutFailsTheRunAndComesBack) {
    ASSERT_EQ(Save(0, "/first"), 0);
    sqlite_busy_milliseconds = 100;
    LogCatcher log;
    {
        Peer peer;
        ASSERT_EQ(VELUDBBegin(peer.db), 0);
        VELUIndexRunBegin();
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(Save(0, "/m/" + std::to_string(i)), -1);
        EXPECT_LT(std::chrono::steady_clock::now() - start,
                  std::chrono::milliseconds(50 * sqlite_busy_milliseconds))
            << "one wait, not fifty";
        EXPECT_EQ(VELUIndexRunEnd(), -1);
    }
    EXPECT_EQ(log.Lines().size(), 2u) << "one line at once, one in the end";
    EXPECT_EQ(log.Lines("failed at [/m/0]. (database is locked)").size(), 1u);
    EXPECT_EQ(log.Lines("The media catalogue was away: 50 rows are not stored. (database is locked)").size(),
              1u);
    EXPECT_EQ(Save(0, "/back"), 0);
    EXPECT_EQ(Paths("music"), "/back|/first");
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 1);
}

TEST_F(SqliteRun, ARunGivesUpWhenItIsInVain) {
    ASSERT_EQ(Save(0, "/first"), 0);
    sqlite_busy_milliseconds = 10;
    Peer peer;
    ASSERT_EQ(VELUDBBegin(peer.db), 0);
    const auto given_up_at = [](uint64_t rows) {
        VELUIndexRunRequest(1);
        for (uint64_t i = 0; i < rows; ++i) {
            EXPECT_EQ(BlVELUIndexRunGivesUp(), 0) << i;
            EXPECT_EQ(Save(0, "/" + std::to_string(i)), -1);
        }
        VELUIndexRunRequest(2);
        EXPECT_EQ(BlVELUIndexRunGivesUp(), 1);
        EXPECT_EQ(BlVELUIndexRunRequestFailed(2), 1) << "whoever breaks off has to ask again";
        run_now += kDatabaseAwayMilliseconds;
        EXPECT_EQ(BlVELUIndexRunGivesUp(), 0) << "it may be back";
        EXPECT_EQ(VELUIndexRunEnd(), -1);
        EXPECT_EQ(VELUIndexRunFared(Catalogue::media), RunFared::away);
        EXPECT_EQ(VELUIndexRunFared(Catalogue::photo), RunFared::untold);
    };
    VELUIndexRunBegin();
    given_up_at(kRowsLostMax);
    for (const bool tells : {true, false}) {
        LogCatcher log;
        VELUIndexRunBegin();
        VELUIndexRunKnownAway(Catalogue::media, tells);
        given_up_at(1);
        EXPECT_EQ(log.Lines().size(), tells ? 1u : 0u);
    }
    VELUDBRollback(peer.db);
    VELUIndexRunBegin();
    EXPECT_EQ(Save(0, "/back"), 0);
    EXPECT_EQ(BlVELUIndexRunGivesUp(), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(VELUIndexRunFared(Catalogue::media), RunFared::well);
}

// Nothing is asked of a database that was away a moment ago, though it is back, until that moment is over.
TEST_F(SqliteRun, ADatabaseThatWasAwayIsAskedAgainAfterAWhile) {
    ASSERT_EQ(Save(0, "/first"), 0);
    sqlite_busy_milliseconds = 10;
    VELUIndexRunBegin();
    {
        Peer peer;
        ASSERT_EQ(VELUDBBegin(peer.db), 0);
        EXPECT_EQ(Save(0, "/lost"), -1);
    }
    EXPECT_EQ(Save(0, "/too early"), -1);
    run_now += kDatabaseAwayMilliseconds - 1;
    EXPECT_EQ(Save(0, "/still too early"), -1);
    run_now += 1;
    EXPECT_EQ(Save(0, "/back"), 0);
    EXPECT_EQ(VELUIndexRunEnd(), -1) << "rows were lost";
    EXPECT_EQ(Paths("music"), "/back|/first");
}

TEST_P(CatalogueRun, AnUnreachableStoreIsOneLineForEachOperation) {
    const std::string good = FileRead(kConfig);
    if (OnSqlite())
        std::ofstream(kConfig) << "mediadb=\"sqlite:/proc/none/m.db\"\nphotodb=\"sqlite:/proc/none/p.db\"\n";
    else // nothing listens on port 1
        std::ofstream(kConfig)
            << "mediadb=\"postgresql://127.0.0.1:1/m\"\nphotodb=\"postgresql://127.0.0.1:1/p\"\n";
    LogCatcher log;
    EXPECT_EQ(Save(0, "/a"), -1);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(MediaInfoDBDelete(kMediaTree, "/a"), -1);
    EXPECT_EQ(log.Lines().size(), 2u);
    EXPECT_EQ(PhotoInfoDBDirDelete("/a"), -1);
    EXPECT_EQ(log.Lines().size(), 3u);
    EXPECT_LT(PhotoDBVacuum(), 0);
    EXPECT_EQ(log.Lines().size(), 4u);
    EXPECT_EQ(VELUTruncateTable("music"), -1);
    EXPECT_EQ(log.Lines().size(), 5u);
    EXPECT_EQ(MediaInfoDBOpen(0, "*", nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(log.Lines().size(), 6u);
    VELUIndexRunBegin();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(Save(0, "/a"), -1);
    EXPECT_EQ(VELUIndexRunFlush(), -1);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    EXPECT_EQ(log.Lines().size(), 8u);
    EXPECT_EQ(log.Lines("The media catalogue was away: 10 rows are not stored.").size(), 1u);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 0);
    std::ofstream(kConfig) << good;
    EXPECT_EQ(Save(0, "/a"), 0);
}

TEST_F(SqliteRun, ADamagedFileFailsAndIsNotReplaced) {
    std::ofstream("/var/lib/velu/mediaserver.db") << std::string(10000, 'x');
    LogCatcher log;
    EXPECT_EQ(Save(0, "/a"), -1);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(std::filesystem::file_size("/var/lib/velu/mediaserver.db"), 10000u);
}

TEST_P(CatalogueRun, ANewerSchemaFailsAndIsLeftAlone) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    ASSERT_EQ(peer.Exec("update schema_version set version = 1000"), 1);
    LogCatcher log;
    EXPECT_EQ(Save(0, "/b"), -1);
    EXPECT_EQ(log.Lines("tables of version 1000").size(), 1u);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(peer.Query("select version as x from schema_version"), "1000");
    EXPECT_EQ(peer.Paths("music"), "/a");
}

TEST_P(CatalogueRun, EachDatabaseHoldsItsTablesAndOneVersion) {
    ASSERT_EQ(Save(0, "/a"), 0);
    ASSERT_EQ(PhotoInfoDBDirDelete("/a"), 0);
    const std::string tables =
        OnSqlite() ? "select name as x from sqlite_master where type = 'table' and name not like "
                     "'sqlite\\_%' order by name"
                   : "select tablename as x from pg_tables where schemaname = 'public' order by tablename";
    Peer media;
    EXPECT_EQ(media.Query(tables), "directory|music|photo|playlist|schema_version|video");
    EXPECT_EQ(media.Query("select version as x from schema_version"), "1");
    Peer photo(photo_uri);
    EXPECT_EQ(photo.Query(tables),
              "photo_access_right|photo_image|photo_share|schema_version|video_comment|video_desc");
    EXPECT_EQ(photo.Query("select version as x from schema_version"), "1");
}

TEST_P(CatalogueRun, TheMakingOfTheTablesThatWasCutShortIsDoneAgain) {
    {
        Peer peer;
        ASSERT_EQ(peer.Exec("create table schema_version (version integer)"), 0);
    }
    EXPECT_EQ(Save(0, "/a"), 0);
    EXPECT_EQ(Peer().Query("select version as x from schema_version"), "1");
}

TEST_P(CatalogueRun, AKilledRunLosesTheOpenBatchOnly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    const pid_t child = fork();
    if (child == 0) {
        VELUIndexRunBegin();
        for (int i = 0; i < 500 + 120; ++i)
            Save(0, "/m/" + std::to_string(i));
        kill(getpid(), SIGKILL);
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(Peer().Count("music"), 501);
    EXPECT_EQ(Save(0, "/after"), 0) << "nothing stays locked";
    if (OnSqlite()) {
        EXPECT_EQ(Peer().Query("select integrity_check as x from pragma_integrity_check"), "ok");
    }
}

TEST_F(SqliteRun, AnEmptyRunTouchesNothing) {
    VELUIndexRunBegin();
    VELUIndexRunBegin();
    EXPECT_EQ(VELUIndexRunFlush(), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(kFolder));
}

// The log's files stay, because a reader without the right to write could not make them.
TEST_F(SqliteRun, AnotherUserReadsWhileNobodyHasTheDatabaseOpen) {
    VELUIndexRunBegin();
    ASSERT_EQ(Save(0, "/a"), 0);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_LE(std::filesystem::file_size("/var/lib/velu/mediaserver.db-wal"), 1048576u);
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (setuid(kNobody) != 0)
            _exit(2);
        sqlite3 *db = nullptr;
        const int opened =
            sqlite3_open_v2("/var/lib/velu/mediaserver.db", &db, SQLITE_OPEN_READONLY, nullptr);
        const bool read = opened == SQLITE_OK &&
                          sqlite3_exec(db, "select path from music", nullptr, nullptr, nullptr) == SQLITE_OK;
        _exit(read ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

} // namespace
