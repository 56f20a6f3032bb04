// SPDX-License-Identifier: GPL-2.0-or-later
//
// Readers that are not there, do not start or hang when they end.
#include <signal.h>
#include <sys/stat.h>

#include "platform/clock.h"
#include "tests/unit/reader_pool_fixture.h"

TEST_F(ReaderPoolTest, WithoutAReaderItsFilesAreToldSo) {
    pool.kinds[1].program = "/tmp/readers/none";
    const ReadTicket film = HandOver("film x", kFilms);
    const ReadTicket sent_on = HandOver("film x", kSound);
    const ReadTicket song = HandOver("song x");
    EXPECT_EQ(Take(film).reason, "/tmp/readers/none: No such file or directory");
    EXPECT_EQ(Take(sent_on).end, ReadEnd::no_reader);
    EXPECT_EQ(TitleOf(Take(song)), "x");
    EXPECT_FALSE(pool.kinds[1].unavailable.empty());
    EXPECT_TRUE(pool.kinds[0].unavailable.empty());
    ReaderPoolEnd(&pool);
    EXPECT_TRUE(pool.kinds[1].unavailable.empty());
}

TEST_F(ReaderPoolTest, AReaderThatEndsAtItsStartIsMissing) {
    pool.kinds[0].program = "/usr/bin/false";
    std::vector<ReadTicket> tickets;
    for (int i = 0; i < 10; ++i)
        tickets.push_back(HandOver("title x"));
    for (const ReadTicket ticket : tickets)
        EXPECT_EQ(Take(ticket).reason, "/usr/bin/false: its reader ended with status 1");
    EXPECT_GE(pool.kinds[0].failed_starts, kReaderStartsMax);
    EXPECT_LT(pool.kinds[0].failed_starts,
              kReaderStartsMax + kReadersMax); // those that started with the last
}

TEST_F(ReaderPoolTest, AReaderSaysWhyItCannotStart) {
    const std::pair<const char *, const char *> reasons[] = {
        {"3",
         "it reads nothing without a system call filter, which the kernel does not have or what the daemon "
         "runs in forbids"},
        {"4", "memory ran out when it started"},
        {"127", "a library that it needs cannot be loaded"}};
    for (const auto &[status, reason] : reasons) {
        FileWrite("/tmp/readers/ends", std::string("#!/bin/sh\nexit ") + status + "\n");
        chmod("/tmp/readers/ends", 0755);
        pool.kinds[0].program = "/tmp/readers/ends";
        EXPECT_EQ(Read("title x").reason, std::string("/tmp/readers/ends: ") + reason);
        ReaderPoolEnd(&pool);
    }
}

TEST_F(ReaderPoolTest, AReaderThatIsKilledAtItsStartIsStartedAgain) {
    FileWrite("/tmp/readers/killed", "#!/bin/sh\nkill -9 $$\n");
    chmod("/tmp/readers/killed", 0755);
    pool.kinds[0].program = "/tmp/readers/killed";
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
    EXPECT_EQ(pool.kinds[0].killed_starts, kReaderKilledStartsMax);
    EXPECT_LT(kReaderStartsMax, kReaderKilledStartsMax);
}

TEST_F(ReaderPoolTest, AReaderThatNeverStartsIsMissing) {
    FileWrite("/tmp/readers/sleeper", "#!/bin/sh\nexec sleep 1000\n");
    chmod("/tmp/readers/sleeper", 0755);
    pool.kinds[0].program = "/tmp/readers/sleeper";
    pool.bounds.start_milliseconds = 50;
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
}

TEST_F(ReaderPoolTest, AReaderOfTheOtherKindIsNone) {
    pool.kinds[0].program = pool.kinds[1].program;
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
}

TEST_F(ReaderPoolTest, KilledReadersThatHangLetNoMoreBeStarted) {
    Read("title x");
    ReaderPoolEnd(&pool);
    // Processes that run on stand for those that hang.
    for (size_t i = 0; i < kReaderEndingMax; ++i) {
        ReaderProcess process;
        process.pid = fork();
        if (process.pid == 0) {
            for (;;)
                pause();
        }
        process.alive = FdHandle(open("/dev/null", O_RDONLY | O_CLOEXEC));
        pool.ending.push_back(std::move(process));
    }
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
    ReaderPoolReap(&pool);
    EXPECT_FALSE(pool.ending.empty());
    for (ReaderProcess &process : pool.ending)
        kill(process.pid, SIGKILL);
    const int64_t until = MonotonicMilliseconds() + kReaderEndMilliseconds;
    while (!pool.ending.empty() && MonotonicMilliseconds() < until)
        ReaderPoolReap(&pool);
    EXPECT_TRUE(pool.ending.empty());
    ReaderPoolEnd(&pool);
    EXPECT_EQ(TitleOf(Read("title x")), "x");
}
