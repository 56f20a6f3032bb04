// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which requests of a run hear that something of theirs was lost.
#include "tests/unit/catalogue_fixture.h"

#include "platform/limits.h"
#include "tests/unit/test_files.h"

namespace {

class RunAccounts : public CatalogueStore {
protected:
    // From now on no new connection is had.
    static void ConnectNoMore() {
        std::ofstream(kConfig) << "mediadb=\"sqlite:/proc/none/m.db\"\nphotodb=\"sqlite:/proc/none/p.db\"\n";
    }

    // A row with this title is refused with a code of the server: by default one that has the row alone to blame.
    static void BadRowMake(const std::string &code = "P0001") {
        Peer peer;
        if (OnSqlite()) {
            ASSERT_EQ(peer.Exec("create trigger bad before insert on music when new.title = 'bad' begin "
                                "select raise(rollback, 'bad row'); end"),
                      0);
            return;
        }
        ASSERT_EQ(
            peer.Exec("create or replace function bad() returns trigger language plpgsql as 'begin raise "
                      "exception ''bad row'' using errcode = ''" +
                      code + "''; end'"),
            0);
        ASSERT_EQ(peer.Exec("create trigger bad before insert on music for each row when (new.title = 'bad') "
                            "execute function bad()"),
                  0);
    }

    static std::string Failed(uint64_t last) {
        std::string numbers;
        for (uint64_t number = 1; number <= last; ++number)
            if (BlVELUIndexRunRequestFailed(number) != 0)
                numbers += (numbers.empty() ? "" : " ") + std::to_string(number);
        return numbers;
    }
};
ON_ALL_ENGINES(RunAccounts);

TEST_P(RunAccounts, ARequestWhoseRowIsToBlameHasNotFailed) {
    ASSERT_EQ(Save(0, "/first"), 0);
    BadRowMake();
    VELUIndexRunBegin();
    VELUIndexRunRequest(1);
    EXPECT_EQ(Save(0, "/1"), 0);
    const uint64_t before = VELUIndexRunFailures(Catalogue::media);
    VELUIndexRunRequest(2);
    EXPECT_EQ(Save(0, "/2", "bad"), -1);
    EXPECT_GT(VELUIndexRunFailures(Catalogue::media), before) << "but it counts";
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(Failed(3), "");
    EXPECT_EQ(VELUIndexRunDoubtful(Catalogue::media), 0U);
    EXPECT_EQ(Paths("music"), "/1|/first");
}

// A row that is lost when its batch is written again belongs to the request that asked for it, whichever is at work.
TEST_P(RunAccounts, ARowThatIsLostWithItsBatchIsThatOfItsOwnRequest) {
    ASSERT_EQ(Save(0, "/first"), 0);
    BadRowMake("40001"); // the server gives the batch up, as for another transaction
    VELUIndexRunBegin();
    for (uint64_t number = 1; number <= 5; ++number) {
        VELUIndexRunRequest(number);
        if (number != 3) {
            EXPECT_EQ(Save(0, "/" + std::to_string(number)), 0);
        }
    }
    EXPECT_EQ(Failed(9), "");
    ConnectNoMore();
    VELUIndexRunRequest(7);
    EXPECT_EQ(Save(0, "/7", "bad"), -1);
    EXPECT_EQ(Failed(9), "1 2 4 5 7");
    EXPECT_NE(BlVELUIndexRunAway(Catalogue::media), 0);
    EXPECT_EQ(BlVELUIndexRunAway(Catalogue::photo), 0);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    EXPECT_EQ(Failed(9), "1 2 4 5 7") << "the answer outlives the run";
    VELUIndexRunBegin();
    EXPECT_EQ(Failed(9), "") << "but not the next one's begin";
    VELUIndexRunEnd();
}

TEST_P(RunAccounts, ACatalogueThatIsAwayFailsItsOwnRequestsOnly) {
    VELUIndexRunBegin();
    VELUIndexRunRequest(1);
    EXPECT_EQ(Save(0, "/1"), 0);
    ConnectNoMore();
    VELUIndexRunRequest(2);
    EXPECT_EQ(PhotoInfoDBDelete("/2"), -1);
    VELUIndexRunRequest(3);
    EXPECT_EQ(Save(0, "/3"), 0);
    VELUIndexRunRequest(4);
    EXPECT_EQ(PhotoInfoDBOpen(0, "*", nullptr, nullptr, 0), nullptr) << "a read that fails is one, too";
    VELUIndexRunRequest(5);
    EXPECT_EQ(VELUIndexRunReach(Catalogue::photo), -1);
    EXPECT_EQ(VELUIndexRunReach(Catalogue::media), 0);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    EXPECT_EQ(Failed(9), "2 4 5");
    EXPECT_EQ(VELUIndexRunDoubtful(Catalogue::media), 0U);
    EXPECT_EQ(Paths("music"), "/1|/3");
}

TEST_P(RunAccounts, AStatementOnABorrowedConnectionIsReported) {
    ASSERT_EQ(PhotoInfoDBDirDelete("/a"), 0); // makes the tables
    VELUIndexRunBegin();
    VELUIndexRunRequest(1);
    VELUIndexRows *rows = PhotoInfoDBOpen(1, "*", nullptr, nullptr, 0);
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "no statement", nullptr), -1);
    const uint64_t before = VELUIndexRunFailures(Catalogue::photo);
    VELUIndexRowsFailed(rows);
    EXPECT_EQ(VELUIndexRunFailures(Catalogue::photo), before + 1);
    EXPECT_EQ(Failed(9), "") << "it was its own fault";
    Peer peer(photo_uri);
    ASSERT_EQ(peer.Exec("drop table video_desc"), 0);
    EXPECT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "delete from video_desc", nullptr), -1);
    VELUIndexRowsFailed(rows);
    EXPECT_EQ(Failed(9), "1");
    PhotoInfoDBClose(rows);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    VELUIndexRowsFailed(nullptr);
}

TEST_P(RunAccounts, AnOldBatchIsCommittedBeforeTheNextFile) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    VELUIndexRunBegin();
    VELUIndexRunPause();
    ASSERT_EQ(Save(0, "/a"), 0);
    run_now += kBatchMillisecondsMax - 1;
    VELUIndexRunPause();
    EXPECT_EQ(peer.Count("music"), 1);
    run_now += 1;
    VELUIndexRunPause();
    EXPECT_EQ(peer.Count("music"), 2);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
}

// Each kind of failure, and whether it is the store's.
struct Kind {
    const char *engine; // null: both
    const char *sql;
    bool away;
};
constexpr Kind kKinds[] = {
    {nullptr, "insert into nowhere values (1)", true},
    {nullptr, "delete from music where", false},
    {nullptr, "insert into music (path) values ('/first')", false},
    {nullptr, "update music set nonsense = 1", false},
    {"sqlite", "update music set title = 'it''s cut", false},
    {"sqlite", "select raise(abort, 'x')", false},
    {"postgresql", "do $$ begin raise exception 'x'; end $$", false},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '23514'; end $$", false},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '22021'; end $$", false},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '54000'; end $$", false},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '25006'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '26000'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '28P01'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '3D000'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '3F000'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '40P01'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '42501'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '53100'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '55P03'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '57014'; end $$", true},
    {"postgresql", "do $$ begin raise exception 'x' using errcode = '58030'; end $$", true},
};

TEST_P(RunAccounts, WhatIsTheStoresFaultAndWhatTheStatements) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    for (const Kind &kind : kKinds) {
        if (kind.engine != nullptr && strcmp(kind.engine, GetParam()) != 0)
            continue;
        EXPECT_LT(peer.Exec(kind.sql), 0) << kind.sql;
        EXPECT_EQ(BlVELUDBStoreFailed(peer.db) != 0, kind.away)
            << kind.sql << ": " << VELUDBErrorGet(peer.db);
    }
}

using SqliteAccounts = SqliteStore;

TEST_F(SqliteAccounts, ALockAndAFileThatIsReadOnlyAreTheStoresFault) {
    ASSERT_EQ(Save(0, "/first"), 0);
    sqlite_busy_milliseconds = 10;
    Peer peer;
    Peer other;
    ASSERT_EQ(VELUDBBegin(other.db), 0);
    EXPECT_LT(peer.Exec("delete from music"), 0);
    EXPECT_EQ(BlVELUDBStoreFailed(peer.db), 1);
    VELUDBRollback(other.db);
    ASSERT_EQ(peer.Exec("pragma query_only = on"), 0);
    EXPECT_LT(peer.Exec("delete from music"), 0);
    EXPECT_EQ(BlVELUDBStoreFailed(peer.db), 1);
}

} // namespace

#if VELU_POSTGRESQL

namespace {

using ServerAccounts = ServerStore;

// A server that breaks off may have died, and with it what it had committed and not yet written to its disk.
TEST_F(ServerAccounts, AfterABrokenConnectionAllRequestsBeforeAreInDoubt) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    VELUIndexRunBegin();
    VELUIndexRunRequest(1);
    ASSERT_EQ(Save(0, "/1"), 0);
    ASSERT_EQ(VELUIndexRunFlush(), 0);
    EXPECT_EQ(VELUIndexRunDoubtful(Catalogue::media), 0U);
    VELUIndexRunRequest(2);
    ASSERT_EQ(Save(0, "/2"), 0);
    VELUIndexRunRequest(3);
    EXPECT_EQ(
        peer.Exec("select pg_terminate_backend(pid) from pg_stat_activity where pid <> pg_backend_pid() "
                  "and datname = current_database()"),
        0);
    EXPECT_EQ(Save(0, "/3"), 0) << "on a new connection";
    EXPECT_EQ(VELUIndexRunDoubtful(Catalogue::media), 3U);
    EXPECT_EQ(VELUIndexRunDoubtful(Catalogue::photo), 0U);
    EXPECT_EQ(BlVELUIndexRunRequestFailed(1), 0);
    VELUIndexRunRequest(4);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    EXPECT_EQ(VELUIndexRunDoubtful(Catalogue::media), 3U) << "what came later is as safe as ever";
}

// Nothing has to be done again because one row was refused: its connection has brought to the disk what it had.
TEST_F(ServerAccounts, ABatchThatIsWrittenAgainForABadRowLeavesNoDoubt) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    ASSERT_EQ(peer.Exec("alter table music add constraint good check (title <> 'bad')"), 0);
    VELUIndexRunBegin();
    VELUIndexRunRequest(1);
    ASSERT_EQ(Save(0, "/1"), 0);
    ASSERT_EQ(VELUIndexRunFlush(), 0);
    VELUIndexRunRequest(2);
    ASSERT_EQ(Save(0, "/2"), 0);
    EXPECT_EQ(Save(0, "/bad", "bad"), -1);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(VELUIndexRunDoubtful(Catalogue::media), 0U);
    EXPECT_EQ(Paths("music"), "/1|/2|/first");
}

} // namespace

#endif
