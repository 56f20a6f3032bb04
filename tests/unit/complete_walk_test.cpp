// SPDX-License-Identifier: GPL-2.0-or-later
//
// What readers say on its way to rows, under the rule set `complete`.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <random>

#include "catalogue/file_readers.h"
#include "daemon/index.h"
#include "daemon/turns.h"
#include "daemon/walk_reindex.h"
#include "daemon/walker.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "tests/unit/failing_new.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/scripted_readers.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

constexpr char kMusic[] = "/volume1/music";

void RulesSet(const char *rules) {
    FileWrite("/etc/veluinfo.conf", std::string("rules=\"") + rules + "\"\n");
    RuleSetRead();
}

class CompleteWalkTest : public testing::Test {
protected:
    CompleteWalkTest() : folder(ScriptedReadersMake()) {
        SandboxReset();
        fs::remove_all("/var/lib/velu/covers");
        RulesSet("complete");
        reader_programs[0] = (sound = folder + "/velureader").c_str();
        reader_programs[1] = (films = folder + "/velureader-films").c_str();
        LogTake();
    }
    ~CompleteWalkTest() override {
        FileReadersEnd();
        reader_programs[0] = reader_programs[1] = nullptr;
        RulesSet("appliance");
        fs::remove("/etc/veluinfo.conf");
    }

    std::string folder;
    std::string sound;
    std::string films;
};

template <typename Do>
void InRun(Do walk) {
    VELUIndexRunBegin();
    walk();
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    FileReadersEnd();
}

void Walk() {
    InRun([] { IndexDirWalk(kMusic, kIndexAdd, kWalkMedia); });
}

void Reindex() {
    InRun([] { TreeReindex(kMusic); });
}

std::string Title(const std::string &table, const std::string &path) {
    return MediaRow(table, path)["title"];
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
    for (const char *name : {"a.pcm", "b.srt", "c.m3u", "d.iso", "e.txt", "._f.mp3", "g"}) {
        const std::string path = std::string("/volume1/music/") + name;
        FileWrite(path, "crash");
        EXPECT_EQ(IndexFileHandOver(path.c_str()), 0u) << path;
    }
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
