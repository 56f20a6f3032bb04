// SPDX-License-Identifier: GPL-2.0-or-later
//
// Covers under the rule set `complete`: in the file, else in its directory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <vector>

#include "catalogue/bounds.h"
#include "catalogue/file_stamp.h"
#include "catalogue/folder_cover.h"
#include "daemon/queue_commands.h"
#include "daemon/walk_reindex.h"
#include "platform/limits.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_covers.h"
#include "tests/unit/complete_fixture.h"

namespace fs = std::filesystem;

namespace {

using CompleteCoversTest = CompleteFixture;

constexpr char kOther[] = "/volume1/music/A/other.mp3";

ptrdiff_t LinesAbout(const std::string &path, const std::vector<LogLine> &lines) {
    return std::ranges::count_if(
        lines, [&](const LogLine &line) { return line.text.find(path) != std::string::npos; });
}

TEST_F(CompleteCoversTest, AnAlbumCostsOnePicture) {
    for (int i = 0; i < 30; ++i)
        FileWrite("/volume1/music/A/" + std::to_string(i) + ".mp3", "picture 70000 T");
    Walk();
    EXPECT_EQ(FilesKept(), 1u);
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(CoverOf("/volume1/music/A/" + std::to_string(i) + ".mp3").size(), 70000u);
    FileWrite("/volume1/music/B/1.mp3", "picture 70000 T");
    Walk();
    EXPECT_EQ(FilesKept(), 1u) << "in another run and directory, too";
    fs::remove_all("/volume1/music/A");
    fs::remove_all("/volume1/music/B");
    InRun([] { TreeReindex(kMusic); });
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteCoversTest, AFileRewrittenWithAnotherPictureHasThat) {
    FileWrite(kSong, "picture 70000 T");
    FileWrite(kOther, "picture 70000 T");
    Walk();
    for (const char *script :
         {"altered 70000 T", "png 500 T", "webp 500 T", "gif 500 T", "picture 70000 T"}) {
        const std::string before = CoverOf(kSong);
        FileWrite(kSong, script);
        Walk();
        EXPECT_NE(CoverOf(kSong), before) << script;
        EXPECT_NE(CoverOf(kSong), "") << script;
        EXPECT_LE(FilesKept(), 2u);
    }
    EXPECT_EQ(FilesKept(), 1u);
    FileWrite(kSong, "title T");
    FileWrite(kOther, "title T");
    Walk();
    EXPECT_EQ(CoverOf(kSong), "");
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteCoversTest, WithoutAPictureOfItsOwnAFileHasThatOfItsDirectory) {
    FileWrite(kSong, "title T");
    FileWrite(kOther, "picture 70000 T");
    FileWrite("/volume1/music/A/film.avi", "film F");
    FileWrite("/volume1/music/A/photo.avi", "photo P");
    FileWrite("/volume1/music/A/B/below.mp3", "title T");
    const std::string picture = kJpegHead + std::string(30'000, 'x');
    FileWrite("/volume1/music/A/Folder.JPG", picture);
    Walk();
    EXPECT_EQ(CoverOf(kSong), picture);
    EXPECT_EQ(CoverOf("/volume1/music/A/film.avi"), picture);
    EXPECT_EQ(CoverOf(kOther).size(), 70000u);
    EXPECT_EQ(CoverOf("/volume1/music/A/B/below.mp3"), "") << "it lies in another directory";
    EXPECT_EQ(MediaRow("photo", "/volume1/music/A/photo.avi")["has_cover"], "0");
    EXPECT_EQ(FilesKept(), 2u);
}

TEST_F(CompleteCoversTest, TheNameThatCountsMostIsTheCover) {
    FileWrite(kSong, "title T");
    const std::vector<std::string> names = {"albumart.webp", "albumart.jpg", "Album.png",
                                            "front.jpeg",    "FOLDER.PNG",   "folder.jpg",
                                            "cover.webp",    "Cover.png",    "COVER.jpg"};
    for (const std::string &name : names) {
        const std::string picture = kJpegHead + name;
        FileWrite("/volume1/music/A/" + name, picture);
        Walk();
        EXPECT_EQ(CoverOf(kSong), picture);
    }
    for (const char *name :
         {"back.jpg", "cover.gif", "cover.jpg.txt", "cover", ".cover.jpg", "discover.jpg", "COVER.jpg "}) {
        FileWrite(std::string("/volume1/music/B/") + name, kJpegHead);
        FileWrite("/volume1/music/B/1.mp3", "title T");
        Walk();
        EXPECT_EQ(CoverOf("/volume1/music/B/1.mp3"), "") << name;
    }
}

TEST_F(CompleteCoversTest, WhatIsNoPictureIsNoCover) {
    FileWrite(kSong, "title T");
    const std::string album = "/volume1/music/A/";
    FileWrite(album + "cover.jpg", "photo of nothing");
    fs::create_directory(album + "folder.jpg");
    ASSERT_EQ(mkfifo((album + "folder.png").c_str(), 0600), 0);
    FileWrite(album + "front.jpg", kJpegHead);
    ASSERT_EQ(truncate((album + "front.jpg").c_str(), kReaderPictureMax + 1), 0);
    Walk();
    EXPECT_EQ(CoverOf(kSong), "");
    ASSERT_EQ(truncate((album + "front.jpg").c_str(), kReaderPictureMax), 0);
    Walk();
    EXPECT_EQ(MediaRow("music", kSong)["has_cover"], "1");
    fs::remove(album + "front.jpg");
    fs::create_symlink("cover2.jpg", album + "cover.webp");
    FileWrite(album + "cover2.jpg", kJpegHead + "linked");
    Walk();
    EXPECT_EQ(CoverOf(kSong), kJpegHead + "linked");
}

TEST_F(CompleteCoversTest, NoMorePicturesAreTriedThanThat) {
    FileWrite(kSong, "title T");
    const std::string name = "cover.jpg";
    for (size_t i = 0; i < kFolderCoversMax; ++i) { // those in capitals count more
        std::string written = name;
        for (size_t bit = 0; bit < 5; ++bit)
            if ((i >> bit & 1) == 0)
                written[bit] = static_cast<char>(toupper(written[bit]));
        FileWrite("/volume1/music/A/" + written, "photo of nothing");
    }
    FileWrite("/volume1/music/A/cover.jpg", kJpegHead);
    Walk();
    EXPECT_EQ(CoverOf(kSong), "");
    fs::remove("/volume1/music/A/COVER.jpg");
    Walk();
    EXPECT_EQ(CoverOf(kSong), kJpegHead);
}

TEST_F(CompleteCoversTest, APictureThatComesGoesOrChangesBringsItsSongsInStep) {
    FileWrite(kSong, "title T");
    FileWrite(kOther, "picture 70000 T");
    Walk();
    const std::string cover = "/volume1/music/A/cover.jpg";
    for (const std::string &picture : {kJpegHead + "1", kJpegHead + "22", kJpegHead + "33"}) {
        FileWrite(cover, picture);
        Ask('a', cover);
        EXPECT_EQ(CoverOf(kSong), picture);
    }
    const std::string front = "/volume1/music/A/front.jpg";
    fs::rename(cover, front);
    Ask('N', front, cover);
    EXPECT_EQ(CoverOf(kSong), kJpegHead + "33");
    fs::remove(front);
    Ask('d', front);
    EXPECT_EQ(CoverOf(kSong), "");
    EXPECT_EQ(CoverOf(kOther).size(), 70000u);
    EXPECT_EQ(FilesKept(), 1u);
}

TEST_F(CompleteCoversTest, OnlyFilesWithoutAPictureAreReadForIt) {
    FileWrite(kSong, "title T");
    FileWrite(kOther, "picture 70000 T");
    const std::string cover = "/volume1/music/A/cover.jpg";
    FileWrite(cover, kJpegHead);
    Walk();
    Settle(kSong, FolderStamp(kSong));
    Settle(kOther, kStampOwnCover);
    reader_programs[0] = "/tmp/readers/none"; // nothing can be read
    const std::string kept = CoverOf(kOther);
    Walk();
    Ask('a', cover);
    const auto before = LogTake();
    EXPECT_EQ(LinesAbout(kSong, before) + LinesAbout(kOther, before), 0) << "no reader was needed";
    FileWrite(cover, kJpegHead + "other");
    Walk();
    const auto lines = LogTake();
    EXPECT_EQ(LinesAbout(kSong, lines), 1);
    EXPECT_EQ(LinesAbout(kOther, lines), 0);
    EXPECT_EQ(CoverOf(kOther), kept);
}

TEST_F(CompleteCoversTest, ARowOfAFileThatCannotBeReadHasACoverToo) {
    FileWrite(kSong, "failed for a reason");
    FileWrite("/volume1/music/A/cover.jpg", kJpegHead);
    Walk();
    EXPECT_EQ(CoverOf(kSong), kJpegHead);
}

TEST_F(CompleteCoversTest, ACoverThatCannotBeStoredIsTriedAgain) {
    FileWrite(kSong, "picture 70000 T");
    const timespec old[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, kSong, old, 0), 0);
    FileWrite(kCovers, "in the way");
    Walk();
    EXPECT_EQ(MediaRow("music", kSong)["has_cover"], "0");
    EXPECT_EQ(MediaRow("file_state", kSong)["stamp"], "");
    fs::remove(kCovers);
    Walk();
    EXPECT_EQ(CoverOf(kSong).size(), 70000u);
}

TEST_F(CompleteCoversTest, EmptyingATableTakesAllCovers) {
    for (int i = 0; i < 5; ++i)
        FileWrite("/volume1/music/A/" + std::to_string(i) + ".mp3",
                  i % 2 == 0 ? "picture 70000 T" : "title T");
    FileWrite("/volume1/music/A/cover.jpg", kJpegHead);
    Walk();
    EXPECT_EQ(FilesKept(), 2u);
    Ask('T', "music");
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteCoversTest, ARenameTakesCoversAlong) {
    FileWrite(kSong, "picture 70000 T");
    FileWrite(kOther, "title T");
    FileWrite("/volume1/music/A/cover.jpg", kJpegHead);
    Walk();
    const std::string picture = CoverOf(kSong);
    fs::rename("/volume1/music/A", "/volume1/music/B");
    Ask('N', "/volume1/music/B", "/volume1/music/A");
    EXPECT_EQ(CoverOf("/volume1/music/B/song.mp3"), picture);
    EXPECT_EQ(CoverOf("/volume1/music/B/other.mp3"), kJpegHead);
    EXPECT_EQ(FilesKept(), 2u);
    fs::remove_all("/volume1/music/B");
    Ask('D', "/volume1/music/B");
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteCoversTest, TheOtherRulesRemoveTheseCoversToo) {
    FileWrite(kSong, "picture 70000 T");
    FileWrite(kOther, "picture 70000 T");
    Walk();
    RulesSet("appliance");
    fs::remove_all("/volume1/music/A");
    Ask('D', "/volume1/music/A");
    EXPECT_TRUE(NothingIsKept());
}

} // namespace
