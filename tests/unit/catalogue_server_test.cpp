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
