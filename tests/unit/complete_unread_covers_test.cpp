// SPDX-License-Identifier: GPL-2.0-or-later
//
// Covers, under the rule set `complete`, of files that cannot be read.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "catalogue/file_stamp.h"
#include "catalogue/media_info.h"
#include "platform/index/file_state.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_covers.h"
#include "tests/unit/complete_fixture.h"

namespace fs = std::filesystem;

namespace {

using CompleteUnreadCovers = CompleteFixture;

constexpr char kCover[] = "/volume1/music/A/cover.jpg";
constexpr char kNone[] = "/tmp/readers/none";

std::string StampOf(const std::string &path) {
    return MediaRow("file_state", path)["stamp"];
}

// The row of a song that was read when the file was as it is now.
void ReadRowSave(const std::string &stamp, bool has_cover = false) {
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    MediaInfo record = {};
    record.file_size = static_cast<uint64_t>(status.st_size);
    snprintf(record.path, sizeof record.path, "%s", kSong);
    snprintf(record.title, sizeof record.title, "as it was");
    VELUIndexTimeText(status.st_mtim.tv_sec, record.modify_time, sizeof record.modify_time);
    record.has_cover = has_cover ? 1 : 0;
    const FileFact facts[] = {{"container", 0, "mp3", "mp3"}};
    InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kMediaMusic, &record, {.stamp = stamp, .facts = facts}), 0); });
}

std::string OwnStampOf(const std::string &path) {
    struct stat status;
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return FileStampOf(status);
}

// Has a picture come, change and go.
void ExpectThatItFollowsItsDirectory() {
    EXPECT_EQ(CoverOf(kSong), "");
    for (const std::string &picture : {kJpegHead + "1", kJpegHead + "22", kJpegHead + "333"}) {
        FileWrite(kCover, picture);
        Ask('a', kCover);
        EXPECT_EQ(CoverOf(kSong), picture);
        EXPECT_EQ(FilesKept(), 1u);
    }
    fs::remove(kCover);
    Ask('d', kCover);
    EXPECT_EQ(CoverOf(kSong), "");
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteUnreadCovers, FollowTheDirectoryOfADamagedFile) {
    for (const char *script : {"failed for a reason", "crash", "unreadable"}) {
        FileWrite(kSong, script);
        Walk();
        ExpectThatItFollowsItsDirectory();
    }
}

TEST_F(CompleteUnreadCovers, FollowTheDirectoryWhereThereIsNoReader) {
    reader_programs[0] = kNone;
    FileWrite(kSong, "title T");
    Walk();
    ExpectThatItFollowsItsDirectory();
}

TEST_F(CompleteUnreadCovers, FollowTheDirectoryOfAFileThatWasReadOnce) {
    OldFileWrite(kSong, "crash");
    ReadRowSave(OwnStampOf(kSong));
    ExpectThatItFollowsItsDirectory();
    EXPECT_EQ(Title("music", kSong), "as it was");
    EXPECT_EQ(FactsOf(kSong), std::vector<std::string>{"container=mp3"});
}

// That nothing is to be done shows by the line that a try costs.
TEST_F(CompleteUnreadCovers, AreLookedAtAgainWhenTheirDirectoryChangesAndNotBefore) {
    OldFileWrite(kSong, "failed for a reason");
    FileWrite(kCover, kJpegHead + "1");
    Walk();
    EXPECT_EQ(FileStampCover(StampOf(kSong)), "") << "the picture is too new to be relied upon";
    Settle(kSong, FolderStamp(kSong));
    LogTake();
    Walk();
    Ask('a', kCover);
    EXPECT_TRUE(LogTake().empty());
    FileWrite(kCover, kJpegHead + "22");
    Ask('a', kCover);
    EXPECT_EQ(LogTake().size(), 1u);
    EXPECT_EQ(CoverOf(kSong), kJpegHead + "22");
    EXPECT_NE(MediaRow("file_state", kSong)["trouble"], "");
}

// Its bytes are what they were when it was read.
TEST_F(CompleteUnreadCovers, OfTheFileItselfStay) {
    FileWrite(kSong, "picture 70000 T");
    Walk();
    const std::string own = CoverOf(kSong);
    reader_programs[0] = kNone;
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    ++status.st_ctim.tv_sec; // renamed, or its rights have changed
    for (const std::string &stamp : {FileStampOf(status) + kStampOwnCover, std::string()}) {
        ReadRowSave(stamp, true);
        for (const char *picture : {"1", "22"}) {
            FileWrite(kCover, kJpegHead + picture);
            Walk();
            EXPECT_TRUE(CoverOf(kSong) == own) << stamp;
        }
        fs::remove(kCover);
        Walk();
        EXPECT_TRUE(CoverOf(kSong) == own) << stamp;
    }
}

TEST_F(CompleteUnreadCovers, OfTheFileItselfStayBesideATrouble) {
    OldFileWrite(kSong, "crash");
    FileWrite(kCover, kJpegHead);
    Walk();
    const std::string cover = CoverOf(kSong);
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    ++status.st_ctim.tv_sec;
    StampSet(kSong, FileStampOf(status) + kStampOwnCover);
    for (int run = 0; run < 2; ++run) {
        FileWrite(kCover, kJpegHead + std::to_string(run));
        LogTake();
        Walk();
        EXPECT_EQ(LogTake().size(), run == 0 ? 1u : 0u) << "of pictures beside it nothing depends";
        EXPECT_EQ(StampOf(kSong), OwnStampOf(kSong) + kStampOwnCover);
        EXPECT_EQ(CoverOf(kSong), cover);
    }
}

} // namespace
