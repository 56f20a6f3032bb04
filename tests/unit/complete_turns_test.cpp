// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files that are handed to readers ahead of their turn, under the rule set `complete`, and how many readers there are.
#include "daemon/turns.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <new>
#include <random>

#include "catalogue/file_readers.h"
#include "daemon/index.h"
#include "daemon/walk_reindex.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/failing_new.h"

namespace {

using CompleteWalkTest = CompleteFixture;

} // namespace

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
