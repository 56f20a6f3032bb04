// SPDX-License-Identifier: GPL-2.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "platform/media_record.h"
#include "platform/veluindex.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

struct IndexReader : testing::Test {
    void SetUp() override { TearDown(); }
    void TearDown() override {
        VELUIndexCoverDirSet(nullptr);
        std::filesystem::remove_all("/tmp/reader_test");
        std::filesystem::remove("/etc/veluinfo.conf");
        LogTake();
    }
};

} // namespace

TEST_F(IndexReader, MakesNothing) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/tmp/reader_test/media.db\"\n");
    EXPECT_EQ(VELUIndexReaderOpen(Catalogue::media), nullptr);
    EXPECT_FALSE(std::filesystem::exists("/tmp/reader_test"));
    EXPECT_EQ(LogTakeTexts(),
              (std::vector<std::string>{"veludb.c# Failed to open the database of the media catalogue. "
                                        "(/tmp/reader_test/media.db: No such file or directory)"}));
}

TEST_F(IndexReader, ReadsAndCannotWrite) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/tmp/reader_test/media.db\"\n");
    MediaInfo record = {};
    strcpy(record.path, "/volume1/music/a.mp3");
    ASSERT_EQ(MediaInfoDBSave(kMediaMusic, &record), 0);
    const DatabaseHandle db(VELUIndexReaderOpen(Catalogue::media));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(VELUDBRowCount(VELUDBQuery(db.get(), "select path from music").get()), 1);
    EXPECT_EQ(VELUDBExecute(db.get(), "delete from music", nullptr), -1);
}

TEST_F(IndexReader, NamesTheDatabasesOfTheConfiguration) {
    char uri[kCatalogueUriSize];
    ASSERT_EQ(VELUIndexUriGet(Catalogue::photo, uri, sizeof uri), 0);
    EXPECT_STREQ(uri, "sqlite:/var/lib/velu/photo.db");
    FileWrite("/etc/veluinfo.conf", "photodb=\"postgresql://host/velu_photo\"\n");
    ASSERT_EQ(VELUIndexUriGet(Catalogue::photo, uri, sizeof uri), 0);
    EXPECT_STREQ(uri, "postgresql://host/velu_photo");
}

TEST_F(IndexReader, CoversOfAProcessOfItsOwnLieElsewhere) {
    char folder[kMediaPathSize];
    VELUIndexCoverDirSet("/tmp/reader_test");
    ASSERT_EQ(GetCoverFolder("/a.mp3", folder, sizeof folder), 1);
    EXPECT_TRUE(std::string(folder).starts_with("/tmp/reader_test/"));
    ASSERT_EQ(VELUIndexCoverDirGet(folder, sizeof folder), 0);
    EXPECT_STREQ(folder, "/tmp/reader_test");
    VELUIndexCoverDirSet(nullptr);
    ASSERT_EQ(VELUIndexCoverDirGet(folder, sizeof folder), 0);
    EXPECT_STREQ(folder, "/var/lib/velu/covers");
}
