// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/main_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "daemon/queue.h"
#include "daemon/queue_kept.h"
#include "platform/clock.h"
#include "platform/limits.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

constexpr time_t kHour = 3600;
constexpr time_t kStart = 1'000'000'000;

constexpr char kSong[] = "/volume1/music/a.pcm";
constexpr char kAway[] = "mediadb=\"sqlite:/proc/no/such/place.db\"\n";

int64_t loop_now = 1'000'000;

class MainLoopTest : public testing::Test {
protected:
    MainLoopTest() {
        SandboxReset();
        dirty = 0;
        pending = 0;
        signal_count = 0;
        last_vacuum = kStart;
        main_loop_clock = [] { return loop_now; };
        LogTake();
    }
    ~MainLoopTest() override { main_loop_clock = MonotonicMilliseconds; }
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

// While the catalogue is away the request stays, it is tried again at longer and longer intervals, and what is queued
// meanwhile has its turn at its signal.
TEST_F(MainLoopTest, WorkThatIsLeftIsTakenUpAgainWithoutASignal) {
    FileWrite("/etc/veluinfo.conf", kAway);
    FileWrite(kSong, "x");
    FileWrite(kQueueFile, "a:/volume1/music/a.pcm\n");
    QueueRun();
    EXPECT_EQ(FileRead(kKeptFile), "0 a:/volume1/music/a.pcm\n");
    EXPECT_FALSE(std::filesystem::exists(kQueueWorkingCopy));
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
    loop_now += kQueueRetryFirst;
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::retry);

    FileWrite(kQueueFile, "a:/volume1/music/b.pcm\n");
    FileWrite("/volume1/music/b.pcm", "x");
    std::filesystem::remove("/etc/veluinfo.conf");
    QueueRetry();
    EXPECT_EQ(MediaPaths("music"), std::vector<std::string>{kSong});
    EXPECT_FALSE(std::filesystem::exists(kKeptFile));
    EXPECT_TRUE(std::filesystem::exists(kQueueFile)) << "it waits for its signal and a quiet sleep";
    loop_now += 10 * kQueueRetryLast;
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
}

TEST_F(MainLoopTest, ASignalDoesNotPutOffWhatIsTriedAgain) {
    FileWrite("/etc/veluinfo.conf", kAway);
    FileWrite(kSong, "x");
    FileWrite(kQueueFile, "a:/volume1/music/a.pcm\n");
    QueueRun();
    loop_now += kQueueRetryFirst;
    SetDirty(SIGUSR1);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::retry);
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::process) << "the signal counts as ever";
    std::filesystem::remove("/etc/veluinfo.conf");
    QueueRetry();
}

TEST_F(MainLoopTest, TheIntervalsGrowUpToABound) {
    FileWrite("/etc/veluinfo.conf", kAway);
    FileWrite(kSong, "x");
    FileWrite(kQueueFile, "a:/volume1/music/a.pcm\n");
    QueueRun();
    for (const int64_t seconds : {10, 20, 40, 80, 160, 320, 600, 600}) {
        loop_now += seconds * 1000 - 1;
        EXPECT_EQ(WakeUpHandle(kStart), WakeUp::wait);
        loop_now += 1;
        EXPECT_EQ(WakeUpHandle(kStart), WakeUp::retry);
        QueueRetry();
    }
    static_assert(kQueueRetryLast == 600'000);
    FileWrite(kQueueFile, "a:/volume1/music/b.pcm\n");
    QueueRun();
    loop_now += kQueueRetryFirst;
    EXPECT_EQ(WakeUpHandle(kStart), WakeUp::retry)
        << "a request that is new there is tried as soon as the first was";
    std::filesystem::remove("/etc/veluinfo.conf");
    QueueRetry();
    LogTake();
}
