// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/main_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/limits.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

constexpr time_t kHour = 3600;
constexpr time_t kStart = 1'000'000'000;

class MainLoopTest : public testing::Test {
protected:
    MainLoopTest() {
        SandboxReset();
        dirty = 0;
        pending = 0;
        signal_count = 0;
        last_vacuum = kStart;
        LogTake();
    }
};

} // namespace

TEST_F(MainLoopTest, TheHandlerSetsBothFlagsAndCounts) {
    SetDirty(SIGUSR1);
    SetDirty(SIGUSR1);
    EXPECT_EQ(dirty, 1);
    EXPECT_EQ(pending, 1);
    EXPECT_EQ(signal_count, 2);
}

TEST_F(MainLoopTest, AnIdleDaemonWaits) {
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WakeUpHandle(kStart + 100 * kHour), WakeUp::wait);
    EXPECT_EQ(last_vacuum, kStart); // an idle daemon never vacuums
}

TEST_F(MainLoopTest, OneSignalIsProcessedAtTheSecondWakeUp) {
    SetDirty(SIGUSR1);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
    EXPECT_EQ(pending, 0);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::process);
    EXPECT_EQ(dirty, 0);
    EXPECT_EQ(pending, 0);
    EXPECT_EQ(signal_count, 0);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
}

TEST_F(MainLoopTest, EachFurtherSignalPutsProcessingOff) {
    for (int i = 0; i < 5; ++i) {
        SetDirty(SIGUSR1);
        EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
    }
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::process);
}

TEST_F(MainLoopTest, PendingWithoutDirtyWaitsForItsQuietSleep) {
    pending = 1;
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
    EXPECT_EQ(dirty, 1);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::process);
}

TEST_F(MainLoopTest, VacuumsBeforeARunAfterMoreThanTwelveHours) {
    dirty = 1;
    EXPECT_EQ(WakeUpHandle(kStart + 12 * kHour), WakeUp::process);
    EXPECT_EQ(last_vacuum, kStart); // exactly twelve hours are not more
    dirty = 1;
    EXPECT_EQ(WakeUpHandle(kStart + 12 * kHour + 1), WakeUp::process);
    EXPECT_NE(last_vacuum, kStart);
}

TEST_F(MainLoopTest, AFailedVacuumIsLoggedForEachDatabase) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\nphotodb=\"nonsense\"\n");
    DatabasesVacuum();
    const std::vector<std::string> log = LogTakeTexts();
    EXPECT_NE(std::find(log.begin(), log.end(), "veluindexd.c# vaccuum mediaserver failed."), log.end());
    EXPECT_NE(std::find(log.begin(), log.end(), "veluindexd.c# vaccuum photodb failed."), log.end());
}

// While the catalogue is away the request stays, it is tried again at longer and longer intervals, and what was
// queued meanwhile follows without a signal once it is back.
TEST_F(MainLoopTest, WorkThatIsLeftIsTakenUpAgainWithoutASignal) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    FileWrite("/volume1/music/a.pcm", "x");
    FileWrite("/volume1/music/b.pcm", "x");
    FileWrite("/var/spool/velu_indexing_queue", "a:/volume1/music/a.pcm\n");
    QueueRun();
    EXPECT_EQ(FileRead("/var/spool/velu_indexing_queue.tmp"), "a:/volume1/music/a.pcm\n");
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::process);
    QueueRun();
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::process);

    FileWrite("/var/spool/velu_indexing_queue", "a:/volume1/music/b.pcm\n");
    std::filesystem::remove("/etc/veluinfo.conf");
    QueueRun();
    EXPECT_EQ(MediaPaths("music"), std::vector<std::string>{"/volume1/music/a.pcm"});
    EXPECT_FALSE(std::filesystem::exists("/var/spool/velu_indexing_queue.tmp"));
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::process);
    QueueRun();
    EXPECT_EQ(MediaPaths("music").size(), 2u);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
}

TEST_F(MainLoopTest, TheIntervalsGrowUpToABound) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    FileWrite("/volume1/music/a.pcm", "x");
    FileWrite("/var/spool/velu_indexing_queue", "a:/volume1/music/a.pcm\n");
    for (const int expected : {1, 2, 4, 8, 16, 32, kQueueRetryWakeUpsMax, kQueueRetryWakeUpsMax}) {
        QueueRun();
        int wake_ups = 1;
        while (WakeUpHandle(kStart) == WakeUp::wait)
            ++wake_ups;
        EXPECT_EQ(wake_ups, expected);
    }
    std::filesystem::remove("/etc/veluinfo.conf");
    QueueRun();
    LogTake();
}

TEST_F(MainLoopTest, ARequestThatCanNeverBeStoredIsGivenUp) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    FileWrite("/volume1/music/a.pcm", "x");
    FileWrite("/var/spool/velu_indexing_queue", "a:/volume1/music/a.pcm\n");
    int runs = 0;
    for (; runs == 0 || std::filesystem::exists("/var/spool/velu_indexing_queue.tmp"); ++runs)
        QueueRun();
    EXPECT_EQ(runs, kQueueKeptRunsMax);
    const std::vector<std::string> log = LogTakeTexts();
    EXPECT_NE(log.back().find("is given up."), std::string::npos);
    std::filesystem::remove("/etc/veluinfo.conf");
    QueueRun(); // counts anew
}
