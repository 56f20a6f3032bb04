// SPDX-License-Identifier: GPL-2.0-or-later
//
// What readers say on its way to rows, under the rule set `complete`.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <random>

#include "catalogue/bounds.h"
#include "catalogue/file_readers.h"
#include "catalogue/file_stamp.h"
#include "daemon/index.h"
#include "daemon/queue_older.h"
#include "daemon/turns.h"
#include "daemon/walk_reindex.h"
#include "daemon/walker.h"
#include "platform/index/file_state.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/failing_new.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

using CompleteWalkTest = CompleteFixture;

void Reindex() {
    InRun([] { TreeReindex(kMusic); });
}

// The lines of the log that hold a text.
Texts LinesWith(const std::string &text) {
    Texts found;
    for (const LogLine &line : LogTake())
        if (line.text.find(text) != std::string::npos)
            found.push_back(line.text);
    return found;
}

TEST_F(CompleteWalkTest, EachFileGetsTheRowThatItsReaderTells) {
    for (int i = 0; i < 100; ++i)
        FileWrite("/volume1/music/" + std::to_string(i % 10) + "/" + std::to_string(i) + ".mp3",
                  "title T" + std::to_string(i));
    Walk();
    EXPECT_EQ(MediaPaths("music").size(), 100u);
    for (int i = 0; i < 100; ++i) {
        auto row =
            MediaRow("music", "/volume1/music/" + std::to_string(i % 10) + "/" + std::to_string(i) + ".mp3");
        EXPECT_EQ(row["title"], "T" + std::to_string(i));
        EXPECT_EQ(row["album"], std::to_string(i % 10));
        EXPECT_EQ(row["file_size"], std::to_string(std::string("title T").size() + std::to_string(i).size()));
        EXPECT_NE(row["modify_time"], "");
    }
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(CompleteWalkTest, TheContentDecidesTheTable) {
    FileWrite("/volume1/music/film.mp3", "film F");
    FileWrite("/volume1/music/sound.avi", "song S");
    FileWrite("/volume1/music/photo.mp3", "photo P");
    FileWrite("/volume1/music/unread.avi", "failed it is nothing");
    Walk();
    EXPECT_EQ(Title("video", "/volume1/music/film.mp3"), "F");
    EXPECT_EQ(Title("music", "/volume1/music/sound.avi"), "S");
    EXPECT_EQ(Title("photo", "/volume1/music/photo.mp3"), "P");
    EXPECT_EQ(Title("video", "/volume1/music/unread.avi"), "unread");
    EXPECT_EQ(LinesWith("/volume1/music/unread.avi cannot be read: it is nothing.").size(), 1u);
}

constexpr char kFilm[] = "/volume1/music/x.avi";

std::string AddedOf(const std::string &path) {
    return MediaRow("file_state", path)["added"];
}

// Adds it alone: no sweep would remove what was left.
TEST_F(CompleteWalkTest, ARowIsInOneTable) {
    RulesSet("appliance");
    FileWrite(kFilm, "song S");
    InRun([] { EXPECT_EQ(IndexFileAdd(kFilm, kIndexAdd), -1) << "nothing that it knows"; });
    EXPECT_EQ(MediaPaths("video"), Texts{kFilm});
    RulesSet("complete");
    InRun([] { EXPECT_EQ(IndexFileAdd(kFilm, kIndexAdd), 0); });
    const std::string added = AddedOf(kFilm);
    EXPECT_NE(added, "");
    const auto expect_in = [&](const char *table, const std::string &script) {
        FileWrite(kFilm, script);
        InRun([] { IndexFileAdd(kFilm, kIndexAdd); });
        for (const char *each : {"music", "video", "photo", "playlist"})
            EXPECT_EQ(MediaPaths(each), each == std::string_view(table) ? Texts{kFilm} : Texts{}) << script;
        EXPECT_EQ(AddedOf(kFilm), added);
    };
    expect_in("music", "song S");
    expect_in("video", "film F");
    expect_in("photo", "photo P");
    expect_in("music", "picture 3000 S");
    EXPECT_EQ(MediaRow("music", kFilm)["has_cover"], "1");
    char cover[4096];
    ASSERT_EQ(GetCoverPath(kFilm, cover, sizeof cover, 3, 1, kCoverJpeg), 1);
    EXPECT_TRUE(fs::exists(cover));
    fs::remove(kFilm);
    InRun([] { EXPECT_EQ(IndexFileAdd(kFilm, kIndexRemove), 0); });
    EXPECT_EQ(MediaPaths("music"), Texts{});
    EXPECT_FALSE(fs::exists(cover));
}

TEST_F(CompleteWalkTest, ACoverIsStoredWhole) {
    FileWrite("/volume1/music/A/with.mp3", "picture 70000 T");
    FileWrite("/volume1/music/A/without.mp3", "title T");
    Walk();
    EXPECT_EQ(MediaRow("music", "/volume1/music/A/with.mp3")["has_cover"], "1");
    EXPECT_EQ(MediaRow("music", "/volume1/music/A/without.mp3")["has_cover"], "0");
    char cover[4096];
    ASSERT_EQ(GetCoverPath("/volume1/music/A/with.mp3", cover, sizeof cover, 3, 1, kCoverJpeg), 1);
    const std::string picture = FileRead(cover);
    ASSERT_EQ(picture.size(), 70000u);
    EXPECT_EQ(static_cast<unsigned char>(picture[69999]), static_cast<unsigned char>(69999 * 7 + 70000));
    FileWrite("/volume1/music/A/with.mp3", "title T");
    Walk();
    EXPECT_EQ(MediaRow("music", "/volume1/music/A/with.mp3")["has_cover"], "0");
    EXPECT_FALSE(fs::exists(cover));
}

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

std::string TroubleOfSong() {
    return MediaRow("file_state", kSong)["trouble"];
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

TEST(FileStamp, ATimeThatIsTooNewGivesNone) {
    FileWrite(kSong, "x");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    const time_t now = status.st_ctim.tv_sec;
    for (const time_t near : {now - kStampSeconds + 1, now, now + kStampSeconds - 1})
        EXPECT_EQ(FileStampOfRead(kSong, status, near), "");
    EXPECT_EQ(FileStampOfRead(kSong, status, now + kStampSeconds), FileStampOf(status));
    EXPECT_EQ(FileStampOfRead(kSong, status, now - kStampSeconds), FileStampOf(status)) << "a clock set back";
    EXPECT_EQ(FileStampOfRead("/volume1/none", status, now + kStampSeconds), "");
    struct stat other = status;
    ++other.st_size;
    EXPECT_EQ(FileStampOfRead(kSong, other, now + kStampSeconds), "") << "it has changed since";
}

TEST(FileStamp, TellsOfEachChangeAndOfTheAge) {
    FileWrite(kSong, "x");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    const std::string stamp = FileStampOf(status);
    EXPECT_TRUE(FileStampHasAge(stamp, status));
    for (const auto &change :
         {+[](struct stat *of) { of->st_mtim.tv_nsec ^= 1; }, +[](struct stat *of) { ++of->st_mtim.tv_sec; },
          +[](struct stat *of) { of->st_size = 10; }}) {
        struct stat other = status;
        change(&other);
        EXPECT_NE(FileStampOf(other), stamp);
        EXPECT_FALSE(FileStampHasAge(stamp, other));
    }
    struct stat renamed = status;
    renamed.st_ctim.tv_nsec ^= 1;
    EXPECT_NE(FileStampOf(renamed), stamp);
    EXPECT_TRUE(FileStampHasAge(stamp, renamed));
    EXPECT_FALSE(FileStampHasAge("", status));
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

TEST_F(CompleteWalkTest, AReindexSweepsWhatIsGoneAndKeepsWhatIsThere) {
    for (int i = 0; i < 60; ++i)
        FileWrite("/volume1/music/" + std::to_string(i / 6) + "/" + std::to_string(i) + ".mp3",
                  i % 7 == 0 ? "crash" : "title T");
    Reindex();
    EXPECT_EQ(MediaPaths("music").size(), 60u);
    EXPECT_EQ(MediaPaths("directory").size(), 11u);
    fs::remove_all("/volume1/music/3");
    fs::remove("/volume1/music/5/30.mp3");
    fs::remove("/volume1/music/5/31.mp3");
    FileWrite("/volume1/music/7/42.mp3", "title now good");
    FileWrite("/volume1/music/7/43.mp3", "film now a film");
    Reindex();
    EXPECT_EQ(MediaPaths("music").size(), 60u - 6 - 2 - 1);
    EXPECT_EQ(MediaPaths("video"), Texts{"/volume1/music/7/43.mp3"});
    EXPECT_EQ(MediaPaths("directory").size(), 10u);
    EXPECT_EQ(Title("music", "/volume1/music/7/42.mp3"), "now good");
}

// What is removed while a file waits for its turn is no file any more when that comes.
TEST_F(CompleteWalkTest, AFileThatVanishesBeforeItsTurn) {
    FileWrite("/volume1/music/1.mp3", "title one");
    const ReadTicket ticket = IndexFileHandOver("/volume1/music/1.mp3");
    ASSERT_NE(ticket, 0u);
    fs::remove("/volume1/music/1.mp3");
    FileGiveUp(ticket);
    EXPECT_EQ(IndexFileAdd("/volume1/music/1.mp3", kIndexAdd), -1);
    EXPECT_EQ(MediaPaths("music"), Texts{});
}

TEST_F(CompleteWalkTest, FilesThatHoldNothingToReadAreNotHandedOver) {
    for (const char *name : {"a.pcm", "b.srt", "d.iso", "e.txt", "._f.mp3", "g"}) {
        const std::string path = std::string("/volume1/music/") + name;
        FileWrite(path, "crash");
        EXPECT_EQ(IndexFileHandOver(path.c_str()), 0u) << path;
    }
    FileWrite("/volume1/music/c.m3u", "title x");
    EXPECT_NE(IndexFileHandOver("/volume1/music/c.m3u"), 0u) << "playlists are read";
    RulesSet("appliance");
    FileWrite("/volume1/music/h.mp3", "title x");
    EXPECT_EQ(IndexFileHandOver("/volume1/music/h.mp3"), 0u);
}

TEST_F(CompleteWalkTest, UnderTheOtherRulesNoReaderIsStarted) {
    RulesSet("appliance");
    FileWrite("/volume1/music/1.mp3", "title one");
    Walk();
    EXPECT_EQ(Title("music", "/volume1/music/1.mp3"), "1");
    EXPECT_TRUE(HasNoChild());
}

TEST_F(CompleteWalkTest, TurnsKeepTheirOrder) {
    Turns turns;
    Texts done;
    const auto note = [&](const std::string &path) { done.push_back(path); };
    TurnTake(&turns, "at once", note);
    EXPECT_EQ(done, Texts{"at once"});
    Texts expected = done;
    for (size_t i = 0; i < 3 * kTurnsMax; ++i) {
        const std::string path = "/volume1/music/" + std::to_string(i) + ".mp3";
        FileWrite(path, "title x");
        if (i % 3 == 0)
            FileTurnTake(&turns, path, note);
        else
            TurnTake(&turns, path, note);
        expected.push_back(path);
        EXPECT_LT(turns.waiting.size(), kTurnsMax);
    }
    TurnsFinish(&turns);
    EXPECT_EQ(done, expected);
}

TEST_F(CompleteWalkTest, ReadersAreToldTheCharacterSetOfTheRun) {
    FileWrite(kSong, "charset");
    setenv("LC_ALL", "C", 1);
    Walk();
    EXPECT_EQ(Title("music", kSong), "none");
    FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\ntagcharset=\"windows-1251\"\n");
    Walk();
    EXPECT_EQ(Title("music", kSong), "CP1251");
    unsetenv("LC_ALL");
}

TEST_F(CompleteWalkTest, NoMoreFilesAreAheadThanAgreed) {
    Turns turns;
    size_t done = 0;
    for (size_t i = 0; i < 2 * kReaderAheadFiles; ++i) {
        const std::string path = "/volume1/music/" + std::to_string(i) + ".mp3";
        FileWrite(path, "title x");
        FileTurnTake(&turns, path, [&](const std::string &) { ++done; });
        EXPECT_LT(turns.waiting.size(), kReaderAheadFiles);
    }
    TurnsFinish(&turns);
    EXPECT_EQ(done, 2 * kReaderAheadFiles);
}

TEST_F(CompleteWalkTest, WithoutMemoryNoTurnIsLeft) {
    for (int i = 0; i < 6; ++i)
        FileWrite("/volume1/music/" + std::to_string(i) + ".mp3", i == 3 ? "picture 300 x" : "title x");
    Walk();
    bool failed = true;
    int failures = 0;
    for (int number = 1; failed; number += 29) {
        NewFailAt(number);
        try {
            VELUIndexRunBegin();
            TreeReindex(kMusic);
        } catch (const std::bad_alloc &) {
            ++failures;
        }
        failed = NewFailed();
        FileReadersEnd();
        VELUIndexRunEnd();
        LogTake();
        ASSERT_TRUE(HasNoChild());
        ASSERT_EQ(MediaPaths("music").size(), 6u) << number;
    }
    EXPECT_GT(failures, 5);
}

TEST_F(CompleteWalkTest, ReadersThatAreKilledCostNoRow) {
    for (int i = 0; i < 400; ++i)
        FileWrite("/volume1/music/" + std::to_string(i) + ".mp3", "title T" + std::to_string(i));
    std::mt19937 random(15);
    int killed = 0;
    int turn = 0;
    Turns turns;
    VELUIndexRunBegin();
    VELUIndexRunRules(RuleSetActive());
    for (int i = 0; i < 400; ++i)
        FileTurnTake(&turns, "/volume1/music/" + std::to_string(i) + ".mp3", [&](const std::string &path) {
            EXPECT_EQ(IndexFileAdd(path.c_str(), kIndexAdd), 0);
            const std::vector<pid_t> pids = Children();
            if (++turn % 16 == 0 && !pids.empty()) {
                kill(pids[random() % pids.size()], SIGKILL);
                ++killed;
            }
        });
    TurnsFinish(&turns);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    for (int i = 0; i < 400; ++i)
        EXPECT_EQ(Title("music", "/volume1/music/" + std::to_string(i) + ".mp3"), "T" + std::to_string(i));
    EXPECT_GT(killed, 10);
}

TEST_F(CompleteWalkTest, AsManyReadersAsConfigured) {
    for (size_t i = 0; i < 2 * kReadersMax * kReaderSlots; ++i)
        FileWrite("/volume1/music/" + std::to_string(i) + ".mp3", "silent");
    const auto readers_of = [&](const std::string &value, size_t expected) {
        FileReadersEnd();
        FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\nreaders=\"" + value + "\"\n");
        for (size_t i = 0; i < 2 * kReadersMax * kReaderSlots; ++i)
            IndexFileHandOver(("/volume1/music/" + std::to_string(i) + ".mp3").c_str());
        for (int i = 0; i < 5000 && Children().size() < expected; ++i) {
            FileReadersServe(false);
            usleep(1000);
        }
        for (int i = 0; i < 20; ++i)
            FileReadersServe(false);
        return Children().size();
    };
    EXPECT_EQ(readers_of("1", 1), 1u);
    EXPECT_EQ(readers_of("3", 3), 3u);
    EXPECT_EQ(readers_of("9", kReadersMax), static_cast<size_t>(kReadersMax));
    EXPECT_TRUE(LogTake().empty());
    for (const char *bad : {"0", "-1", "two", "1x", "+2"}) {
        readers_of(bad, 1);
        EXPECT_EQ(LinesWith("is no number from 1 to 4").size(), 1u) << bad;
    }
}

} // namespace

// Its row says what its reader would not.
TEST_F(CompleteWalkTest, AFileThatIsUnchangedIsNotRead) {
    FileWrite(kSong, "title another");
    FileWrite("/volume1/music/other.mp3", "title other");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    const std::string stamp = FileStampOf(status);
    for (const auto &index : {Walk, Reindex, +[] { InRun([] { IndexFileAdd(kSong, kIndexAdd); }); }}) {
        RowSave("as it was", stamp);
        index();
        EXPECT_EQ(Title("music", kSong), "as it was");
        RowSave("as it was", stamp + "1");
        index();
        EXPECT_EQ(Title("music", kSong), "another");
    }
    EXPECT_EQ(Title("music", "/volume1/music/other.mp3"), "other");
    RowSave("as it was", stamp);
    InRun([] {
        VELUTruncateTable("file_state");
        IndexDirWalk(kMusic, kIndexAdd, kWalkMedia);
    });
    EXPECT_EQ(Title("music", kSong), "another") << "forgotten";
    RowSave("as it was", stamp);
    InRun([] { MediaInfoDBDelete(kMediaMusic, kSong); });
    Walk();
    EXPECT_EQ(Title("music", kSong), "another") << "without a row";
    RowSave("as it was", stamp.substr(0, stamp.rfind('r')) + "r99");
    Walk();
    EXPECT_EQ(Title("music", kSong), "another") << "read by a newer revision";
}

TEST_F(CompleteWalkTest, AFileThatChangesWhileItIsReadIsReadOnceMore) {
    FileWrite(kSong, "title first");
    InRun([] {
        const ReadTicket ticket = IndexFileHandOver(kSong);
        while (!FileIsRead(ticket))
            FileReadersServe(true);
        FileWrite(kSong, "title and then");
        EXPECT_EQ(IndexFileAdd(kSong, kIndexAdd), 0);
    });
    EXPECT_EQ(Title("music", kSong), "and then");
    FileState state;
    InRun([&] { EXPECT_EQ(FileStateOf(kSong, &state), 1); });
    EXPECT_EQ(state.stamp, "") << "it has changed just now";
}

TEST_F(CompleteWalkTest, AFilmChangesWithItsSubtitles) {
    const char *film = "/volume1/music/film.mkv";
    FileWrite(film, "film F");
    struct stat status;
    ASSERT_EQ(stat(film, &status), 0);
    const auto row_save = [&](const std::string &stamp) {
        MediaInfo record = {};
        snprintf(record.path, sizeof record.path, "%s", film);
        snprintf(record.title, sizeof record.title, "as it was");
        InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kMediaVideo, &record, {.stamp = stamp}), 0); });
    };
    row_save(FileStampOf(status));
    Walk();
    EXPECT_EQ(Title("video", film), "as it was");
    FileWrite("/volume1/music/film.en.srt", "subtitles");
    Walk();
    EXPECT_EQ(Title("video", film), "as it was") << "it is not opened for that";
    const std::string with = FileStampOf(status) + FileStampBeside({"/volume1/music/film.en.srt"});
    EXPECT_EQ(MediaRow("file_state", film)["stamp"], with);
    row_save(with);
    Walk();
    EXPECT_EQ(Title("video", film), "as it was");
    fs::remove("/volume1/music/film.en.srt");
    InRun([] { SubtitleFilmsUpdate("/volume1/music/film.en.srt"); });
    EXPECT_EQ(MediaRow("file_state", film)["stamp"], FileStampOf(status));
}
