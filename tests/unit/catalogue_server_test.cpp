// SPDX-License-Identifier: GPL-2.0-or-later
//
// The catalogues on a PostgreSQL server: lost connections, failed commits, programs that come at once.
#include "catalogue_fixture.h"

#include "platform/index/statements.h"
#include "tests/unit/child_process.h"

#if VELU_POSTGRESQL

namespace {

// Ends all connections to the media catalogue but that of `peer`.
void ConnectionsEnd(Peer *peer) {
    EXPECT_EQ(
        peer->Exec("select pg_terminate_backend(pid) from pg_stat_activity where pid <> pg_backend_pid() "
                   "and datname = current_database()"),
        0);
}

// A server that dies takes along what it has not synchronised, also of batches that were committed.
TEST_F(ServerStore, ARunThatLosesItsConnectionGoesOnAndIsToBeDoneAgain) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    LogCatcher log;
    for (const int rows : {1, 499, 500, 501, 900}) { // before, at and behind the end of a batch
        VELUIndexRunBegin();
        for (int i = 0; i < rows; ++i)
            ASSERT_EQ(Save(0, "/m/" + std::to_string(i)), 0);
        ConnectionsEnd(&peer);
        Save(0, "/behind");
        for (int i = 0; i < 3; ++i)
            Save(0, "/last" + std::to_string(i));
        EXPECT_EQ(VELUIndexRunEnd(), -1) << rows;
        VELUIndexRunBegin();
        for (const std::string path : {"/behind", "/last0", "/last1", "/last2"})
            ASSERT_EQ(Save(0, path), 0);
        EXPECT_EQ(VELUIndexRunEnd(), 0) << "with a new connection";
        EXPECT_EQ(peer.Count("music"), 1 + rows + 4) << rows;
        ASSERT_EQ(peer.Exec("delete from music where path <> '/first'"), rows + 4);
    }
}

TEST_F(ServerStore, AReadThatLosesItsConnectionFailsTheRun) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    VELUIndexRunBegin();
    VELUIndexRows *rows = MediaInfoDBOpen(0, "path", nullptr, nullptr, 0);
    ASSERT_NE(rows, nullptr);
    MediaInfoDBClose(rows);
    ConnectionsEnd(&peer);
    LogCatcher log;
    EXPECT_EQ(MediaInfoDBOpen(0, "path", nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(log.Lines("Failed to read").size(), 1u);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    rows = MediaInfoDBOpen(0, "path", nullptr, nullptr, 0);
    EXPECT_NE(rows, nullptr);
    MediaInfoDBClose(rows);
}

// It may be a copy that lags behind: what is done upon an answer would be done upon what was there a while ago.
TEST_F(ServerStore, AServerThatTakesNoWritesIsAskedNothingThatCounts) {
    ASSERT_EQ(Save(0, "/a"), 0);
    ASSERT_EQ(PhotoInfoDBDelete("/a"), 0); // makes the tables
    Peer peer(ServerUri() + "/postgres");
    const auto change = [&](const char *setting) {
        for (const char *name : {"unit_media", "unit_photo"})
            ASSERT_EQ(peer.Exec(std::string("alter database ") + name + setting), 0);
    };
    change(" set default_transaction_read_only = on");
    LogCatcher log;
    EXPECT_EQ(VELUIndexKnows(Catalogue::media, "/a", true), -1);
    EXPECT_EQ(MediaInfoDBOpen(0, "path", nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(PhotoInfoDBOpen(kPhotoTableShare, "*", nullptr, nullptr, 0), nullptr);
    {
        VELUIndexTogether together(Catalogue::photo);
        EXPECT_EQ(PhotoInfoDBOpen(kPhotoTableShare, "*", nullptr, nullptr, 0), nullptr);
        EXPECT_EQ(together.Finish(0), -1);
    }
    EXPECT_EQ(log.Lines("read-only transaction").size(), log.Lines().size());
    change(" reset default_transaction_read_only");
    EXPECT_EQ(VELUIndexKnows(Catalogue::media, "/a", true), 1);
}

TEST_F(ServerStore, ABatchWhoseCommitFailsIsWrittenRowByRow) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    ASSERT_EQ(peer.Exec("create function bad() returns trigger language plpgsql as "
                        "'begin raise exception ''bad row''; end'"),
              0);
    ASSERT_EQ(peer.Exec("create constraint trigger bad after insert on music deferrable initially deferred "
                        "for each row when (new.title = 'bad') execute function bad()"),
              0);
    LogCatcher log;
    VELUIndexRunBegin();
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
    EXPECT_EQ(log.Lines("bad row").size(), 1u);
}

// Rows with such a title are refused; what the server was asked to write is counted, also what it has taken back.
void RefuseBadRows(Peer *peer) {
    for (const char *sql : {"create sequence tries",
                            "create function bad() returns trigger language plpgsql as 'begin "
                            "perform nextval(''tries''); if new.title = ''bad'' then "
                            "raise exception ''bad row''; end if; return new; end'",
                            "create trigger bad before insert on music for each row execute function bad()"})
        ASSERT_EQ(peer->Exec(sql), 0);
}

TEST_F(ServerStore, RefusedRowsCostNoMoreThanTheRowsThatAreGood) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    RefuseBadRows(&peer);
    constexpr int kRows = 1000;
    const std::string sessions = "select string_agg(pid::text, ' ' order by pid) as x from pg_stat_activity "
                                 "where datname = current_database()";
    for (const int every : {2, 100, 499}) {
        LogCatcher log;
        int refused = 0;
        VELUIndexRunBegin();
        ASSERT_EQ(Save(0, "/m"), 0);
        const std::string before = peer.Query(sessions);
        for (int i = 0; i < kRows; ++i) {
            const bool bad = i % every == every - 1;
            refused += bad ? 1 : 0;
            ASSERT_EQ(Save(0, "/m/" + std::to_string(i), bad ? "bad" : "good"), bad ? -1 : 0);
            ASSERT_EQ(log.Lines().size(), static_cast<size_t>(refused)) << "told at once";
        }
        EXPECT_EQ(peer.Query(sessions), before) << "a connection each costs more than any row";
        EXPECT_EQ(VELUIndexRunEnd(), 0) << "the store was there";
        EXPECT_EQ(peer.Count("music"), 2 + kRows - refused);
        EXPECT_EQ(peer.Count("music where title = 'bad'"), 0);
        EXPECT_LE(atoi(peer.Query("select last_value as x from tries").c_str()), 3 * kRows) << every;
        ASSERT_EQ(peer.Exec("delete from music where path <> '/first'"), 1 + kRows - refused);
        ASSERT_EQ(peer.Query("select setval('tries', 1) as x"), "1");
    }
}

// The order of writes counts: what was saved and removed stays away.
TEST_F(ServerStore, ARefusedRowLeavesTheOthersInTheirOrder) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    RefuseBadRows(&peer);
    LogCatcher log;
    VELUIndexRunBegin();
    for (int i = 0; i < 40; ++i) {
        const std::string path = "/m/" + std::to_string(i % 4);
        ASSERT_EQ(Save(0, path, std::to_string(i)), 0);
        ASSERT_EQ(Save(0, "/x", "bad"), -1);
        if (i % 4 == 3) {
            ASSERT_EQ(MediaInfoDBDelete(kMediaMusic, path.c_str()), 0);
        }
        ASSERT_EQ(peer.Paths("music"), "/first") << "one batch";
    }
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(peer.Query("select title as x from music order by path"), "title|36|37|38");
    EXPECT_EQ(log.Lines("The media catalogue failed at [/x]. (bad row)").size(), 40u);
    EXPECT_EQ(log.Lines().size(), 40u);
}

// Two programs that find an empty database at the same moment.
TEST_F(ServerStore, TheTablesAreMadeByOneOfManyThatComeAtOnce) {
    std::vector<pid_t> children;
    for (int i = 0; i < 8; ++i)
        children.push_back(ChildStart([i] { return Save(0, "/" + std::to_string(i)) == 0 ? 0 : 1; }));
    for (const pid_t child : children)
        EXPECT_EQ(ChildStatus(child), 0);
    EXPECT_EQ(Peer().Count("music"), 8);
    EXPECT_EQ(Peer().Query("select version as x from schema_version"), "1");
}

TEST_F(ServerStore, TreeDeleteSearchesTheIndex) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    ASSERT_EQ(peer.Exec("set enable_seqscan = off"), 0); // which small tables are worth
    ASSERT_EQ(peer.Exec("prepare tree as " + StatementText(StatementOf(StoreOperation::removeTree, "music"))),
              0);
    VELUDBResult *rows = nullptr;
    ASSERT_EQ(VELUDBExecute(peer.db, "explain execute tree('/a', '/a/', '/a0')", &rows), 0)
        << VELUDBErrorGet(peer.db);
    std::string plan;
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;)
        plan += std::string(VELUDBFetchField(rows, row, "QUERY PLAN")) + "\n";
    VELUDBFreeResult(rows);
    EXPECT_NE(plan.find("Index Cond: (path = '/a'::text)"), std::string::npos) << plan;
    EXPECT_NE(plan.find("Index Cond: ((path >= '/a/'::text) AND (path < '/a0'::text))"), std::string::npos)
        << plan;
    EXPECT_EQ(plan.find("Seq Scan"), std::string::npos) << plan;
}

} // namespace

#endif
