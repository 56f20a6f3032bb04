// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writes that belong together: all of them are in the catalogue, or none.
#include "catalogue_fixture.h"
#include "platform/limits.h"

namespace {

class RunTogether : public CatalogueStore {
protected:
    void SetUp() override {
        CatalogueStore::SetUp();
        ASSERT_EQ(PhotoInfoDBDirDelete("/none"), 0); // makes the tables
        VELUIndexRunBegin();
        VELUIndexRunRequest(1);
    }

    static int Add(const std::string &path) {
        return PhotoDBExec(("insert into video_desc (path) values ('" + path + "')").c_str());
    }
    static std::string There() { return PhotoPaths("video_desc"); }

    // The next write finds a store that takes nothing.
    static void StoreBreak() {
        if (!OnSqlite()) {
            EXPECT_EQ(
                Peer(photo_uri).Exec("select pg_terminate_backend(pid) from pg_stat_activity where pid <> "
                                     "pg_backend_pid() and datname = current_database()"),
                0);
            return;
        }
        VELUIndexRows *rows = PhotoInfoDBOpen(kPhotoTableVideoDesc, "path", nullptr, nullptr, 1);
        EXPECT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "pragma max_page_count = 1", nullptr), 0);
        PhotoInfoDBClose(rows);
    }
    static std::string Large() { return "/" + std::string(100000, 'x'); }
};
ON_ALL_ENGINES(RunTogether);

TEST_P(RunTogether, OthersSeeAllOfThemOrNone) {
    ASSERT_EQ(Add("/before"), 1);
    {
        VELUIndexTogether together(Catalogue::photo);
        EXPECT_EQ(There(), "/before") << "what others have asked for is no part of it";
        for (size_t i = 0; i < kBatchRowsMax + 10; ++i)
            ASSERT_EQ(Add("/m/" + std::to_string(i)), 1);
        run_now += kBatchMillisecondsMax;
        VELUIndexRows *rows = PhotoInfoDBOpen(kPhotoTableVideoDesc, "path", nullptr, nullptr, 0);
        EXPECT_EQ(VELUDBRowCount(VELUIndexRowsResult(rows)), static_cast<int>(kBatchRowsMax) + 11);
        ASSERT_EQ(Add("/last"), 1) << "while rows are being read";
        PhotoInfoDBClose(rows);
        EXPECT_EQ(There(), "/before");
        EXPECT_EQ(together.Finish(0), 0);
    }
    EXPECT_EQ(Peer(photo_uri).Count("video_desc"), static_cast<int>(kBatchRowsMax) + 12);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(BlVELUIndexRunRequestFailed(1), 0);
}

TEST_P(RunTogether, AStoreThatFailsInBetweenTakesAllBack) {
    ASSERT_EQ(Add("/before"), 1);
    VELUIndexRunRequest(2);
    {
        VELUIndexTogether together(Catalogue::photo);
        ASSERT_EQ(Add("/1"), 1);
        ASSERT_EQ(Add("/2"), 1);
        StoreBreak();
        EXPECT_EQ(Add(Large()), -1);
        EXPECT_EQ(together.Finish(0), -1);
    }
    run_now += kDatabaseAwayMilliseconds;
    VELUIndexRunRequest(3);
    EXPECT_EQ(Add("/after"), 1);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    EXPECT_EQ(There(), "/after|/before");
    EXPECT_NE(BlVELUIndexRunRequestFailed(2), 0);
    EXPECT_EQ(BlVELUIndexRunRequestFailed(3), 0);
}

TEST_P(RunTogether, AReadThatFindsNoStoreTakesAllBack) {
    {
        VELUIndexTogether together(Catalogue::photo);
        ASSERT_EQ(Add("/1"), 1);
        VELUIndexRows *rows = PhotoInfoDBOpen(kPhotoTableVideoDesc, "path", nullptr, nullptr, 0);
        ASSERT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "drop table video_comment", nullptr), 0);
        PhotoInfoDBClose(rows);
        EXPECT_EQ(PhotoInfoDBOpen(kPhotoTableVideoComment, "path", nullptr, nullptr, 0), nullptr);
        EXPECT_EQ(together.Finish(0), -1);
    }
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    EXPECT_EQ(There(), "");
    EXPECT_EQ(PhotoPaths("video_comment"), "");
    EXPECT_NE(BlVELUIndexRunRequestFailed(1), 0);
}

TEST_P(RunTogether, AnOperationThatIsBrokenOffTakesAllBack) {
    {
        const VELUIndexTogether together(Catalogue::photo);
        ASSERT_EQ(Add("/1"), 1);
    }
    EXPECT_EQ(Add("/2"), 1);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(There(), "/2");
}

TEST_P(RunTogether, AStatementThatFailsByItselfCostsItselfOnly) {
    {
        VELUIndexTogether together(Catalogue::photo);
        ASSERT_EQ(Add("/1"), 1);
        EXPECT_EQ(Add("/1"), -1);
        ASSERT_EQ(Add("/2"), 1);
        EXPECT_EQ(PhotoInfoDBOpen(kPhotoTableVideoDesc, "path", "nothing = 1", nullptr, 0), nullptr);
        ASSERT_EQ(Add("/3"), 1);
        EXPECT_EQ(together.Finish(0), 0);
    }
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(There(), "/1|/2|/3");
    EXPECT_EQ(BlVELUIndexRunRequestFailed(1), 0);
}

TEST_P(RunTogether, AfterStatementsThatFailByThemselvesOthersStillSeeAllOrNone) {
    const char *again = "insert into video_desc (path) values ('/1')";
    {
        VELUIndexTogether together(Catalogue::photo);
        ASSERT_EQ(Add("/1"), 1);
        EXPECT_EQ(Add("/1"), -1);
        VELUIndexRows *rows = PhotoInfoDBOpen(kPhotoTableVideoDesc, "path", nullptr, nullptr, 0);
        EXPECT_EQ(VELUDBRowCount(VELUIndexRowsResult(rows)), 1);
        EXPECT_EQ(VELUIndexRowsExecute(rows, again), -1);
        VELUIndexRowsFailed(rows);
        EXPECT_EQ(VELUIndexRowsExecute(rows, "insert into video_desc (path) values ('/2')"), 1);
        PhotoInfoDBClose(rows);
        ASSERT_EQ(Add("/3"), 1);
        EXPECT_EQ(There(), "");
        EXPECT_EQ(together.Finish(0), 0);
    }
    EXPECT_EQ(There(), "/1|/2|/3");
    EXPECT_EQ(VELUIndexRowsExecute(nullptr, again), -1);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
}

// Outside a run it is one by itself.
TEST_P(RunTogether, WithoutARun) {
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    {
        VELUIndexTogether together(Catalogue::photo);
        ASSERT_EQ(Add("/1"), 1);
        EXPECT_EQ(together.Finish(0), 0);
        EXPECT_FALSE(RunIsOpen());
    }
    EXPECT_EQ(There(), "/1");
}

} // namespace
