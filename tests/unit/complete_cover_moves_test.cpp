// SPDX-License-Identifier: GPL-2.0-or-later
//
// Covers under the rule set `complete` when their files are renamed: none is lost, and none is left.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "daemon/walk_reindex.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_covers.h"
#include "tests/unit/complete_fixture.h"

namespace fs = std::filesystem;

namespace {

using CompleteCoverMoves = CompleteFixture;

const std::string kA = "/volume1/music/A";
const std::string kB = "/volume1/music/B";
constexpr char kNone[] = "/tmp/readers/none"; // a reader without which nothing can be read

// A walk of files that have long been at rest: from then on they are not read as long as they and their covers stay as they are.
void WalkSettled() {
    Walk();
    for (const std::string &path : MediaPaths("music")) {
        const std::string of_folder = FolderStamp(path);
        const bool own = of_folder.empty() && MediaRow("music", path)["has_cover"] == "1";
        Settle(path, own ? kStampOwnCover : of_folder);
    }
}

void Rename(const std::string &new_path, const std::string &old_path) {
    fs::rename(old_path, new_path);
    Ask('N', new_path, old_path);
}

// How many files with covers there are, and no cover of what is no file of these.
void ExpectCovers(size_t wanted) {
    size_t covers = 0;
    if (fs::exists(kCovers))
        for (const auto &entry : fs::recursive_directory_iterator(kCovers))
            covers +=
                entry.is_regular_file() && entry.path().string().find("/.pictures/") == std::string::npos;
    EXPECT_EQ(covers, wanted);
}

TEST_F(CompleteCoverMoves, OntoAFileWithACoverLeavesNothingOfThat) {
    OldFileWrite(kA + "/plain.mp3", "title T");
    OldFileWrite(kA + "/own.mp3", "picture 70000 T");
    WalkSettled();
    reader_programs[0] = kNone;
    ExpectCovers(1);
    Rename(kA + "/own.mp3", kA + "/plain.mp3");
    EXPECT_EQ(CoverOf(kA + "/own.mp3"), "");
    ExpectCovers(0);
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteCoverMoves, OntoAFileWithoutACoverBringsOne) {
    OldFileWrite(kA + "/plain.mp3", "title T");
    OldFileWrite(kA + "/own.mp3", "picture 70000 T");
    WalkSettled();
    reader_programs[0] = kNone;
    Rename(kA + "/plain.mp3", kA + "/own.mp3");
    EXPECT_EQ(CoverOf(kA + "/plain.mp3").size(), 70000u);
    ExpectCovers(1);
}

TEST_F(CompleteCoverMoves, OntoAFileWithAnotherCoverReplacesIt) {
    OldFileWrite(kA + "/one.mp3", "picture 70000 T");
    OldFileWrite(kA + "/other.mp3", "altered 70000 T");
    WalkSettled();
    reader_programs[0] = kNone;
    const std::string cover = CoverOf(kA + "/one.mp3");
    Rename(kA + "/other.mp3", kA + "/one.mp3");
    EXPECT_EQ(CoverOf(kA + "/other.mp3"), cover);
    ExpectCovers(1);
    EXPECT_EQ(FilesKept(), 1u);
}

TEST_F(CompleteCoverMoves, ATreeIntoAnotherLeavesNoCoverOfWhatItReplaces) {
    for (const std::string name : {"/1.mp3", "/2.mp3", "/3.mp3"}) {
        OldFileWrite(kA + name, name == "/1.mp3" ? "picture 70000 T" : "title T");
        OldFileWrite(kB + name, "altered 70000 T");
    }
    OldFileWrite(kB + "/4.mp3", "png 500 T");
    WalkSettled();
    reader_programs[0] = kNone;
    ExpectCovers(5);
    const std::string cover = CoverOf(kA + "/1.mp3");
    for (const std::string name : {"/1.mp3", "/2.mp3", "/3.mp3"})
        fs::rename(kA + name, kB + name);
    fs::remove(kA);
    Ask('N', kB, kA);
    EXPECT_EQ(CoverOf(kB + "/1.mp3"), cover);
    EXPECT_EQ(CoverOf(kB + "/2.mp3"), "");
    EXPECT_EQ(CoverOf(kB + "/3.mp3"), "");
    EXPECT_EQ(CoverOf(kB + "/4.mp3").size(), 500u);
    ExpectCovers(2);
    EXPECT_EQ(FilesKept(), 2u);
}

TEST_F(CompleteCoverMoves, AFileTakesTheCoverOfItsNewDirectory) {
    OldFileWrite(kA + "/song.mp3", "title T");
    OldFileWrite(kA + "/cover.jpg", kJpegHead + "A");
    OldFileWrite(kB + "/cover.jpg", kJpegHead + "other");
    fs::create_directories("/volume1/music/C");
    WalkSettled();
    EXPECT_EQ(CoverOf(kA + "/song.mp3"), kJpegHead + "A");
    Rename(kB + "/song.mp3", kA + "/song.mp3");
    EXPECT_EQ(CoverOf(kB + "/song.mp3"), kJpegHead + "other");
    ExpectCovers(1);
    Rename("/volume1/music/C/song.mp3", kB + "/song.mp3");
    EXPECT_EQ(CoverOf("/volume1/music/C/song.mp3"), "");
    EXPECT_TRUE(NothingIsKept());
}

// With nothing in the new directory its stamp says the same as one without a cover.
TEST_F(CompleteCoverMoves, AFileLeavesTheCoverOfItsDirectoryBehind) {
    OldFileWrite(kA + "/song.mp3", "title T");
    OldFileWrite(kA + "/damaged.mp3", "crash");
    OldFileWrite(kA + "/cover.jpg", kJpegHead + "A");
    fs::create_directories(kB);
    WalkSettled();
    for (const std::string name : {"/song.mp3", "/damaged.mp3"}) {
        Settle(kA + name, FolderStamp(kA + name));
        EXPECT_EQ(CoverOf(kA + name), kJpegHead + "A");
        Rename(kB + name, kA + name);
        EXPECT_EQ(CoverOf(kB + name), "");
    }
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteCoverMoves, AFileTakesACoverThatLooksLikeTheOneBefore) {
    OldFileWrite(kA + "/song.mp3", "title T");
    OldFileWrite(kA + "/own.mp3", "picture 70000 T");
    OldFileWrite(kA + "/cover.jpg", kJpegHead + "A");
    OldFileWrite(kB + "/cover.jpg", kJpegHead + "B");
    WalkSettled();
    Settle(kA + "/own.mp3", kStampOwnCover);
    Rename(kB + "/song.mp3", kA + "/song.mp3");
    EXPECT_EQ(CoverOf(kB + "/song.mp3"), kJpegHead + "B");
    reader_programs[0] = kNone;
    Rename(kB + "/own.mp3", kA + "/own.mp3");
    EXPECT_EQ(CoverOf(kB + "/own.mp3").size(), 70000u) << "one with a cover of its own is not opened";
    ExpectCovers(2);
}

TEST_F(CompleteCoverMoves, PicturesStayOneFileAndGoWithTheLast) {
    for (const std::string name : {"/1.mp3", "/2.mp3", "/deep/3.mp3"})
        OldFileWrite(kA + name, "picture 70000 T");
    WalkSettled();
    reader_programs[0] = kNone;
    EXPECT_EQ(FilesKept(), 1u);
    Rename(kB, kA);
    for (const std::string name : {"/1.mp3", "/2.mp3", "/deep/3.mp3"})
        EXPECT_EQ(CoverOf(kB + name).size(), 70000u);
    ExpectCovers(3);
    EXPECT_EQ(FilesKept(), 1u);
    OldFileWrite(kA + "/4.mp3", "picture 70000 T");
    reader_programs[0] = sound.c_str();
    Walk();
    EXPECT_EQ(FilesKept(), 1u) << "found by its content";
    fs::remove_all(kA);
    fs::remove_all(kB);
    InRun([] { TreeReindex("/volume1/music"); });
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteCoverMoves, ARenameThatIsDoneAgainLosesNoCover) {
    OldFileWrite(kA + "/1.mp3", "picture 70000 T");
    OldFileWrite(kA + "/2.mp3", "title T");
    WalkSettled();
    reader_programs[0] = kNone;
    // As far as a crash lets it come: a cover has moved, no row.
    char from[4096];
    char to[4096];
    ASSERT_EQ(GetCoverFolder((kA + "/1.mp3").c_str(), from, sizeof from), 1);
    ASSERT_EQ(GetCoverFolder((kB + "/1.mp3").c_str(), to, sizeof to), 1);
    fs::create_directories(fs::path(to).parent_path());
    fs::rename(from, to);
    Rename(kB, kA);
    EXPECT_EQ(CoverOf(kB + "/1.mp3").size(), 70000u);
    EXPECT_EQ(CoverOf(kB + "/2.mp3"), "");
    ExpectCovers(1);
}

} // namespace
