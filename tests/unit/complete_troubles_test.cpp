// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files that their readers cannot read, under the rule set `complete`: which rows they get, what is told of them, and when
// they are tried again.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "catalogue/bounds.h"
#include "catalogue/file_stamp.h"
#include "daemon/queue_older.h"
#include "daemon/walker.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_fixture.h"

namespace {

using CompleteWalkTest = CompleteFixture;

std::string TroubleOfSong() {
    return MediaRow("file_state", kSong)["trouble"];
}

} // namespace

TEST_F(CompleteWalkTest, ATroubledFileGetsARowByItsNameAndALine) {
    FileWrite("/volume1/music/A/1.mp3", "title one");
    FileWrite("/volume1/music/A/2.mp3", "crash");
    FileWrite("/volume1/music/A/3.mp3", "title three");
    Walk();
    EXPECT_EQ(Title("music", "/volume1/music/A/1.mp3"), "one");
    EXPECT_EQ(Title("music", "/volume1/music/A/2.mp3"), "2");
    EXPECT_EQ(Title("music", "/volume1/music/A/3.mp3"), "three");
    const auto lines = LogTake();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(
        lines[0].text.find("/volume1/music/A/2.mp3 cannot be read: its reader ended by signal 11 (SIGSEGV)."),
        std::string::npos)
        << lines[0].text;
}

TEST_F(CompleteWalkTest, WithoutAReaderRowsComeByNameAndItIsSaidOnce) {
    reader_programs[1] = "/tmp/readers/none";
    for (const char *name : {"1.avi", "2.avi", "3.mp3"})
        FileWrite(std::string("/volume1/music/") + name, "film x");
    Walk();
    EXPECT_EQ(Title("video", "/volume1/music/1.avi"), "1");
    EXPECT_EQ(Title("music", "/volume1/music/3.mp3"), "3");
    EXPECT_EQ(LinesWith("Films cannot be read: /tmp/readers/none: No such file or directory. The package "
                        "veluindexd-films brings their reader.")
                  .size(),
              1u);
}

TEST_F(CompleteWalkTest, AReaderThatIsThereAndDoesNotStartIsNoMatterOfPackages) {
    FileWrite("/tmp/readers/unconfined", "#!/bin/sh\nexit 3\n");
    chmod("/tmp/readers/unconfined", 0755);
    reader_programs[1] = "/tmp/readers/unconfined";
    FileWrite("/volume1/music/1.avi", "film x");
    Walk();
    EXPECT_EQ(Title("video", "/volume1/music/1.avi"), "1");
    EXPECT_EQ(
        LinesWith("Films cannot be read: /tmp/readers/unconfined: it reads nothing without a system call "
                  "filter, which the kernel does not have or what the daemon runs in forbids.")
            .size(),
        1u);
    EXPECT_EQ(LinesWith("brings their reader").size(), 0u);
}

TEST_F(CompleteWalkTest, ATroubledFileIsNotTriedAgainUntilItChanges) {
    OldFileWrite(kSong, "crash");
    Walk();
    EXPECT_EQ(LinesWith(kSong).size(), 1u);
    EXPECT_EQ(TroubleOfSong(), "its reader ended by signal 11 (SIGSEGV)");
    for (const auto &again : {Walk, Reindex}) {
        again();
        EXPECT_TRUE(LogTake().empty());
        EXPECT_EQ(Title("music", kSong), "song");
        EXPECT_TRUE(HasNoChild()) << "no reader was needed";
    }
    OldFileWrite(kSong, "title good");
    Walk();
    EXPECT_EQ(Title("music", kSong), "good");
    EXPECT_EQ(TroubleOfSong(), "");
}

TEST_F(CompleteWalkTest, WhatTakesTooMuchMemoryIsTriedThreeTimes) {
    OldFileWrite(kSong, "exit 4");
    for (int run = 1; run <= kTroubleTimes + 1; ++run) {
        Walk();
        EXPECT_EQ(LinesWith("it takes too much memory").size(), run <= kTroubleTimes ? 1u : 0u) << run;
        EXPECT_EQ(TroubleOfSong(), run < kTroubleTimes
                                       ? "it takes too much memory (" + std::to_string(run) + " of 3 times)"
                                       : "it takes too much memory");
    }
}

TEST_F(CompleteWalkTest, WhatIsNoFaultOfTheFileIsNotRememberedAndKeepsItsRow) {
    OldFileWrite(kSong, "song good");
    Walk();
    EXPECT_EQ(Title("music", kSong), "good");
    reader_programs[0] = "/tmp/readers/none";
    for (const auto &again : {Walk, Reindex}) {
        again();
        EXPECT_EQ(Title("music", kSong), "good");
        EXPECT_EQ(TroubleOfSong(), "");
    }
    reader_programs[0] = sound.c_str();
    OldFileWrite(kSong, "unreadable");
    Walk();
    EXPECT_EQ(Title("music", kSong), "song") << "it has changed";
    EXPECT_EQ(TroubleOfSong(), "");
    EXPECT_EQ(LinesWith("cannot be read: its bytes").size(), 1u);
}

TEST_F(CompleteWalkTest, ARowOfAFileInTroubleStaysUnlessTheFileHasChanged) {
    OldFileWrite(kSong, "crash");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    ++status.st_ctim.tv_sec; // renamed, or its rights have changed
    RowSave("as it was", FileStampOf(status));
    Walk();
    EXPECT_EQ(Title("music", kSong), "as it was");
    EXPECT_EQ(TroubleOfSong(), "its reader ended by signal 11 (SIGSEGV)");
    RowSave("as it was", "another stamp");
    Walk();
    EXPECT_EQ(Title("music", kSong), "song");
}

// What a catalogue was told by readers of another revision.
TEST_F(CompleteWalkTest, ARowThatAnotherReaderHasReadStaysToo) {
    OldFileWrite(kSong, "crash");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    const std::string stamp = FileStampOf(status);
    RowSave("as it was", stamp.substr(0, stamp.rfind('r')) + "r0");
    OlderFilesBegin();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 1u);
    EXPECT_EQ(Title("music", kSong), "as it was");
    EXPECT_EQ(TroubleOfSong(), "its reader ended by signal 11 (SIGSEGV)");
}

TEST_F(CompleteWalkTest, WhatAReaderSaysAgainstAFileIsToldOnce) {
    OldFileWrite(kSong, "failed its header is damaged");
    Walk();
    EXPECT_EQ(LinesWith("its header is damaged").size(), 1u);
    EXPECT_EQ(TroubleOfSong(), "its header is damaged");
    Walk();
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(CompleteWalkTest, TroublesAreForgottenWithTheStamps) {
    OldFileWrite(kSong, "crash");
    Walk();
    EXPECT_EQ(LinesWith(kSong).size(), 1u);
    InRun([] {
        EXPECT_EQ(VELUTruncateTable("file_state"), 0);
        IndexDirWalk(kMusic, kIndexAdd, kWalkMedia);
    });
    EXPECT_EQ(LinesWith(kSong).size(), 1u);
    InRun([] {
        IndexDirWalk(kMusic, kIndexAdd, kWalkMedia);
        EXPECT_TRUE(LogTake().empty());
        EXPECT_EQ(VELUTruncateTable("file_state"), 0);
        IndexDirWalk(kMusic, kIndexAdd, kWalkMedia);
    });
    EXPECT_EQ(LinesWith(kSong).size(), 1u);
    EXPECT_EQ(Title("music", kSong), "song");
}

// More than are kept in mind, with files behind each sub-directory.
TEST_F(CompleteWalkTest, TroublesAreKnownInEachDirectory) {
    for (size_t i = 0; i < kKnownDirectories + 2; ++i)
        OldFileWrite("/volume1/music/" + std::to_string(i) + "/x.mp3", "crash");
    Walk();
    EXPECT_EQ(LogTake().size(), kKnownDirectories + 2);
    Walk();
    EXPECT_TRUE(LogTake().empty());
}
