// SPDX-License-Identifier: GPL-2.0-or-later
//
// Runs of the catalogue store that meet the want of memory: each allocation fails in its turn.
#include "tests/unit/catalogue_fixture.h"
#include "tests/unit/failing_new.h"

namespace {

constexpr char kOutOfMemory[] = "out of memory";

// Writes rows whose commit fails on the run's first connection, so that its end writes them one by one.
void BatchOfNoCommit() {
    VELUIndexRows *rows = MediaInfoDBOpen(0, "path", nullptr, nullptr, 0);
    ASSERT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "pragma foreign_keys = on", nullptr), 0);
    MediaInfoDBClose(rows); // the run goes on with the connection
    ASSERT_EQ(Save(0, "/1"), 0);
    ASSERT_EQ(Save(0, "/2"), 0);
    ASSERT_EQ(MediaInfoDBDirSave("/a directory whose path needs memory of its own"), 0);
}

class RunMemory : public SqliteStore {
protected:
    void SetUp() override {
        SqliteStore::SetUp();
        ASSERT_EQ(Save(0, "/first"), 0);
        Peer peer;
        ASSERT_EQ(peer.Exec("create table parent (x text primary key)"), 0);
        ASSERT_EQ(
            peer.Exec("create table child (x text references parent (x) deferrable initially deferred)"), 0);
        ASSERT_EQ(
            peer.Exec(
                "create trigger copy after insert on music begin insert into child values ('nobody'); end"),
            0);
    }
};

} // namespace

// Whatever fails, the run's end throws nothing, and says so unless all is stored in spite of it.
TEST_F(RunMemory, TheEndOfARunOutlivesIt) {
    LogCatcher log;
    int number = 0;
    size_t failures = 0;
    for (bool failed = true; failed;) {
        ASSERT_EQ(VELUTruncateTable("music"), 0);
        VELUIndexRunBegin();
        BatchOfNoCommit();
        NewFailAt(++number);
        int result = 0;
        EXPECT_NO_THROW(result = VELUIndexRunEnd()) << "allocation " << number;
        failed = NewFailed();
        EXPECT_TRUE(failed || result == 0);
        failures += result != 0 ? 1 : 0;
        if (result == 0) {
            EXPECT_EQ(Paths("music"), "/1|/2") << "allocation " << number;
        }
    }
    EXPECT_GT(failures, 10U);
    EXPECT_GT(log.Lines(kOutOfMemory).size(), 5U);
    EXPECT_EQ(Peer().Count("directory"), 1);
}

// What is asked twice may succeed in spite of one failure.
TEST_F(RunMemory, CompactingOutlivesIt) {
    LogCatcher log;
    int number = 0;
    size_t failures = 0;
    for (bool failed = true; failed;) {
        NewFailAt(++number);
        int result = 0;
        EXPECT_NO_THROW(result = MediaDBVacuum()) << "allocation " << number;
        failed = NewFailed();
        EXPECT_TRUE(failed || result == 0);
        failures += result != 0 ? 1 : 0;
    }
    EXPECT_GT(failures, 2U);
    EXPECT_EQ(log.Lines(kOutOfMemory).size(), failures);
}

// What the run has written before is on disk, or its requests hear of it: by what is thrown, or by the run's end.
TEST_F(RunMemory, CompactingKeepsTheRequestsOfTheRun) {
    LogCatcher log;
    int number = 0;
    int thrown = 0;
    for (bool failed = true; failed;) {
        ASSERT_EQ(VELUTruncateTable("music"), 0);
        VELUIndexRunBegin();
        BatchOfNoCommit();
        NewFailAt(++number);
        bool told = false;
        try {
            MediaDBVacuum();
        } catch (const std::bad_alloc &) {
            told = true;
        }
        failed = NewFailed();
        thrown += told ? 1 : 0;
        if (VELUIndexRunEnd() == 0 && !told) {
            EXPECT_EQ(Paths("music"), "/1|/2") << "allocation " << number;
        }
    }
    EXPECT_GT(thrown, 0);
}

// Nor is a connection left open, which the sanitizer would tell.
TEST_F(RunMemory, ADatabaseIsNotOpened) {
    LogCatcher log;
    int number = 0;
    for (bool failed = true; failed;) {
        NewFailAt(++number);
        VELUDB *db = VELUDBOpen(media_uri.c_str());
        failed = NewFailed();
        EXPECT_EQ(db == nullptr, failed) << "allocation " << number;
        VELUDBClose(db);
    }
    EXPECT_GT(number, 2);
    EXPECT_EQ(log.Lines("Failed to open the database. (out of memory)").size(),
              static_cast<size_t>(number - 1));
}
