// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_reindex.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "daemon/storage_mounts.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"
#include "tests/unit/failing_readdir.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

constexpr char kMusic[] = "/volume1/music";

class WalkReindexTest : public testing::Test {
protected:
    WalkReindexTest() {
        SandboxReset();
        FileWrite("/tmp/fstab", "");
        FileWrite("/tmp/mountinfo", "");
        fs::remove("/tmp/mounts");
        storage_files = {"/tmp/fstab", "/tmp/mountinfo", "/tmp/mounts"};
        for (const char *path : {"/volume1/music/top.pcm", "/volume1/music/A/1.pcm",
                                 "/volume1/music/A/B/2.srt", "/volume1/music/C/3.m3u"})
            FileWrite(path, "x");
        TreeReindex(kMusic);
        LogTake();
    }
    ~WalkReindexTest() override {
        ReaddirFailAt("", 0);
        storage_files = {};
    }
};

void MediaExec(const char *sql) {
    VELUDB *db = VELUDBOpen("sqlite:/var/lib/velu/mediaserver.db");
    EXPECT_GE(VELUDBExecute(db, sql, nullptr), 0) << VELUDBErrorGet(db);
    VELUDBClose(db);
}

// A row that no file has, in all tables but `directory`.
void StrayRowsAdd(const std::string &path) {
    for (const char *table : kMediaTables)
        MediaExec(("insert into " + std::string(table) + " (path) values ('" + path + "')").c_str());
}

const Texts kDirectories = {"/volume1/music", "/volume1/music/A", "/volume1/music/A/B", "/volume1/music/C"};

} // namespace

TEST_F(WalkReindexTest, ATreeGetsItsRows) {
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/A/1.pcm", "/volume1/music/top.pcm"}));
    EXPECT_EQ(MediaPaths("video"), Texts{"/volume1/music/A/B/2.srt"});
    EXPECT_EQ(MediaPaths("playlist"), Texts{"/volume1/music/C/3.m3u"});
    EXPECT_EQ(MediaPaths("directory"), kDirectories);
}

TEST_F(WalkReindexTest, WhatIsNotSavedGoesAndWhatLiesBesideStays) {
    for (const char *path :
         {"/volume1/music", "/volume1/music/gone.mp3", "/volume1/music/A", "/volume1/music/A.mp3",
          "/volume1/music/gone/deep/x.mp3", "/volume1/music/top.pcm/x", "/volume1/music2/x.mp3",
          "/volume1/musi", "/volume1/music/A/1.txt", "/volume1/music/@eaDir/x.mp3"})
        StrayRowsAdd(path);
    MediaExec("insert into directory (path) values ('/volume1/music/gone')");
    MediaExec("insert into directory (path) values ('/volume1/music/top.pcm')");
    FileWrite("/volume1/music/A/1.txt", "x");
    VELUIndexMusicTableDirtySet(0);
    VELUIndexVideoTableDirtySet(0);
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/musi", "/volume1/music/A/1.pcm", "/volume1/music/top.pcm",
                                          "/volume1/music2/x.mp3"}));
    EXPECT_EQ(MediaPaths("video"),
              (Texts{"/volume1/musi", "/volume1/music/A/B/2.srt", "/volume1/music2/x.mp3"}));
    EXPECT_EQ(MediaPaths("photo"), (Texts{"/volume1/musi", "/volume1/music2/x.mp3"}));
    EXPECT_EQ(MediaPaths("directory"), kDirectories);
    EXPECT_TRUE(BlVELUIndexIsMusicTableDirty());
    EXPECT_TRUE(BlVELUIndexIsVideoTableDirty());
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(WalkReindexTest, ADirectoryInThePlaceOfAFileAndAFileInThePlaceOfADirectory) {
    fs::remove_all("/volume1/music/A");
    FileWrite("/volume1/music/A", "x");
    fs::remove("/volume1/music/top.pcm");
    FileWrite("/volume1/music/top.pcm/4.pcm", "x");
    FileWrite("/volume1/music/C.pcm", "x");
    StrayRowsAdd("/volume1/music/C.pcm/below.pcm");
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/C.pcm", "/volume1/music/top.pcm/4.pcm"}));
    EXPECT_EQ(MediaPaths("directory"),
              (Texts{"/volume1/music", "/volume1/music/C", "/volume1/music/top.pcm"}));
    EXPECT_TRUE(MediaPaths("video").empty());
}

// More than a portion of rows, of which a part goes, in a directory with sub-directories of many rows each.
TEST_F(WalkReindexTest, ManyRowsAreLookedAtInPortions) {
    Texts kept;
    for (int directory = 0; directory < 5; ++directory) {
        for (int number = 100; number < 300; ++number) {
            const std::string path =
                "/volume1/music/D" + std::to_string(directory) + "/" + std::to_string(number) + ".pcm";
            FileWrite(path, "x");
            FileWrite("/volume1/music/" + std::to_string(1000 * directory + number) + ".pcm", "x");
            if (directory != 3 && number % 3 != 0)
                kept.push_back(path);
            if (number % 3 != 0)
                kept.push_back("/volume1/music/" + std::to_string(1000 * directory + number) + ".pcm");
        }
    }
    VELUIndexRunBegin();
    TreeReindex(kMusic);
    fs::remove_all("/volume1/music/D3");
    for (int directory = 0; directory < 5; ++directory) {
        for (int number = 100; number < 300; ++number) {
            if (number % 3 != 0)
                continue;
            fs::remove("/volume1/music/D" + std::to_string(directory) + "/" + std::to_string(number) +
                       ".pcm");
            fs::remove("/volume1/music/" + std::to_string(1000 * directory + number) + ".pcm");
        }
    }
    TreeReindex(kMusic);
    VELUIndexRunEnd();
    kept.insert(kept.end(), {"/volume1/music/A/1.pcm", "/volume1/music/top.pcm"});
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(MediaPaths("music"), kept);
    EXPECT_EQ(MediaPaths("directory").size(), kDirectories.size() + 4);
}

TEST_F(WalkReindexTest, ADirectoryWhoseListingBreaksOffKeepsItsRows) {
    fs::remove("/volume1/music/top.pcm");
    StrayRowsAdd("/volume1/music/A/gone.pcm");
    ReaddirFailAt("1.pcm", EIO);
    TreeReindex(kMusic);
    const Texts music = {"/volume1/music/A/1.pcm", "/volume1/music/A/gone.pcm"};
    EXPECT_EQ(MediaPaths("music"), music);
    EXPECT_EQ(MediaPaths("directory"), kDirectories);
    EXPECT_EQ(LogTakeTexts(),
              (Texts{"index.c# Failed to open directory /volume1/music/A ",
                     "index.c# The rows at and below /volume1/music/A are kept. (Input/output error)"}));
    EXPECT_FALSE(fs::exists("/tmp/mounts"));
    ReaddirFailAt("", 0);
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/A/1.pcm"});
}

TEST_F(WalkReindexTest, AnEntryThatCannotBeLookedAtKeepsItsRows) {
    StrayRowsAdd("/volume1/music/far/x.pcm");
    StrayRowsAdd("/volume1/music/nowhere/x.pcm");
    fs::create_symlink(std::string(300, 'x'), "/volume1/music/far");
    fs::create_symlink("/none", "/volume1/music/nowhere");
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("photo"), Texts{"/volume1/music/far/x.pcm"});
    EXPECT_EQ(LogTakeTexts(),
              Texts{"index.c# The rows at and below /volume1/music/far are kept. (File name too long)"});
}

TEST_F(WalkReindexTest, AFileThatCannotBeSavedKeepsItsRow) {
    MediaExec("create trigger refuse before update on music begin select raise(abort, 'no'); end");
    MediaExec("create trigger refuse_too before insert on music begin select raise(abort, 'no'); end");
    fs::remove("/volume1/music/top.pcm");
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/A/1.pcm"});
    EXPECT_EQ(LogTakeTexts().back(),
              "index.c# The rows at and below /volume1/music/A/1.pcm are kept. (it could not be saved)");
}

TEST_F(WalkReindexTest, ACatalogueThatCannotBeReadKeepsWhatItHas) {
    StrayRowsAdd("/volume1/music/A/gone.pcm");
    MediaExec("alter table playlist rename to elsewhere");
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("music"),
              (Texts{"/volume1/music/A/1.pcm", "/volume1/music/A/gone.pcm", "/volume1/music/top.pcm"}));
}

TEST_F(WalkReindexTest, AShareThatLeadsNowhereKeepsItsRows) {
    const Texts before = MediaPaths("music");
    fs::rename(kMusic, "/volume1/elsewhere");
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("music"), before);
    EXPECT_EQ(MediaPaths("directory"), kDirectories);
    EXPECT_EQ(LogTakeTexts(), Texts{"index.c# The storage of /volume1/music is away: its rows are kept."});
    fs::rename("/volume1/elsewhere", kMusic);
}

TEST_F(WalkReindexTest, AMountInsideThatIsAwayKeepsItsRowsAndNoOthers) {
    FileWrite("/volume1/music/usb/4.pcm", "x");
    FileWrite("/tmp/mountinfo", "1 0 0:1 / /volume1/music/usb rw - ext4 /dev/sdx rw\n");
    TreeReindex(kMusic);
    EXPECT_EQ(FileRead("/tmp/mounts"), "/volume1/music/usb /volume1/music\n");
    LogTake();
    FileWrite("/tmp/mountinfo", "");
    fs::remove("/volume1/music/usb/4.pcm");
    fs::remove("/volume1/music/top.pcm");
    for (const bool there : {true, false}) {
        if (!there)
            fs::remove_all("/volume1/music/usb");
        TreeReindex(kMusic);
        EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/A/1.pcm", "/volume1/music/usb/4.pcm"}));
        EXPECT_EQ(LogTakeTexts(),
                  Texts{"index.c# The storage of /volume1/music/usb is away: its rows are kept."});
        EXPECT_EQ(FileRead("/tmp/mounts"), "/volume1/music/usb /volume1/music\n");
    }
    FileWrite("/tmp/mountinfo", "1 0 0:1 / /volume1/music/usb rw - ext4 /dev/sdx rw\n");
    fs::create_directory("/volume1/music/usb");
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/A/1.pcm"})
        << "a disk that is mounted and empty is empty";
}

TEST_F(WalkReindexTest, ADirectoryWhoseOwnRowCannotBeSavedIsNamed) {
    fs::remove("/volume1/music/A/1.pcm");
    for (const char *event : {"insert", "update"})
        MediaExec(("create trigger refuse_" + std::string(event) + " before " + event +
                   " on directory when new.path = '/volume1/music/A' begin select raise(abort, 'no'); end")
                      .c_str());
    TreeReindex(kMusic);
    EXPECT_EQ(MediaPaths("directory"), kDirectories);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/top.pcm"}) << "what is gone in it goes";
    const Texts lines = LogTakeTexts();
    EXPECT_EQ(std::ranges::count(lines, "index.c# The rows at and below /volume1/music/A are kept. "
                                        "(its own row could not be saved)"),
              1);
}

TEST_F(WalkReindexTest, ATreeOfItsOwnIsTakenAnewAndNothingIsRememberedOfIt) {
    FileWrite("/tmp/mountinfo", "1 0 0:1 / /volume1/music/A rw - ext4 /dev/sdx rw\n");
    StrayRowsAdd("/volume1/music/A/gone.pcm");
    StrayRowsAdd("/volume1/music/gone.pcm");
    SubTreeReindex("/volume1/music/A/");
    EXPECT_EQ(MediaPaths("music"),
              (Texts{"/volume1/music/A/1.pcm", "/volume1/music/gone.pcm", "/volume1/music/top.pcm"}));
    EXPECT_FALSE(fs::exists("/tmp/mounts"));
    FileWrite("/tmp/mountinfo", "");
    FileWrite("/tmp/fstab", "/dev/sdx /volume1/music/A ext4\n");
    fs::remove_all("/volume1/music/A");
    fs::create_directory("/volume1/music/A");
    SubTreeReindex("/volume1/music/A");
    EXPECT_EQ(MediaPaths("music").size(), 3U);
    EXPECT_EQ(LogTakeTexts(), Texts{"index.c# The storage of /volume1/music/A is away: its rows are kept."});
}

TEST_F(WalkReindexTest, OfATreeThatIsLeftOutNoRowStays) {
    FileWrite("/volume1/music/#recycle/1.pcm", "x");
    StrayRowsAdd("/volume1/music/#recycle/1.pcm");
    SubTreeReindex("/volume1/music/#recycle");
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/A/1.pcm", "/volume1/music/top.pcm"}));
}
