// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening and reading files (platform/file.h).
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/time.h>

#include <string>
#include <thread>

#include "platform/file.h"
#include "tests/unit/test_files.h"

namespace {

const std::string kFile = "/tmp/file_test";

struct FileReading : testing::Test {
    void SetUp() override {
        FileWrite(kFile, "0123456789");
        file = OpenForReading(kFile.c_str());
    }
    void TearDown() override { unlink(kFile.c_str()); }

    std::string UpTo(uint64_t offset, size_t size, int *failure) {
        std::string text(size, '-');
        text.resize(FileReadUpTo(file, offset, text.data(), size, failure));
        return text;
    }

    FdHandle file;
};

TEST_F(FileReading, GivesWhatIsThereAndTellsAnEndFromAFailure) {
    int failure = -1;
    EXPECT_EQ(UpTo(3, 4, &failure), "3456");
    EXPECT_EQ(failure, 0);
    EXPECT_EQ(UpTo(8, 4, &failure), "89");
    EXPECT_EQ(failure, 0);
    EXPECT_EQ(UpTo(11, 4, &failure), "");
    EXPECT_EQ(failure, 0);
    file = FdHandle();
    EXPECT_EQ(UpTo(0, 4, &failure), "");
    EXPECT_EQ(failure, EBADF);
}

TEST_F(FileReading, IsAllOrNothingWhereTheSizeIsKnown) {
    char text[4] = "---";
    EXPECT_TRUE(FileReadAt(file, 7, text, 3));
    EXPECT_STREQ(text, "789");
    EXPECT_FALSE(FileReadAt(file, 8, text, 3));
    EXPECT_TRUE(FileReadAt(file, 100, text, 0));
}

TEST_F(FileReading, RefusesAnOffsetThatNoFileHas) {
    char byte = 0;
    errno = 0;
    EXPECT_EQ(FileReadSomeAt(file, uint64_t{INT64_MAX} + 1, &byte, 1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(FileReadAt(file, UINT64_MAX, &byte, 1));
}

// A pipe interrupts a read as a file on a network does.
TEST_F(FileReading, OutlivesSignals) {
    struct sigaction action = {};
    struct sigaction before;
    action.sa_handler = [](int) {}; // without SA_RESTART
    ASSERT_EQ(sigaction(SIGALRM, &action, &before), 0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const FdHandle pipe_end(ends[0]);
    FdHandle writer(ends[1]);
    const itimerval often = {{0, 1000}, {0, 1000}};
    const itimerval never = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    std::thread thread([&] {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &alarm, nullptr); // the reader gets them all
        usleep(50'000);
        EXPECT_EQ(write(writer.get(), "x", 1), 1);
    });
    char byte = 0;
    EXPECT_EQ(FileReadSome(pipe_end, &byte, 1), 1);
    thread.join();
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(byte, 'x');
}

TEST_F(FileReading, OpensRegularFilesAloneAndNeverWaits) {
    uint64_t size = 0;
    EXPECT_TRUE(RegularFileOpen(kFile.c_str(), &size));
    EXPECT_EQ(size, 10u);
    EXPECT_FALSE(RegularFileOpen("/dev/null", nullptr));
    EXPECT_FALSE(RegularFileOpen("/tmp", nullptr));
    const std::string pipe_name = kFile + ".pipe";
    ASSERT_EQ(mkfifo(pipe_name.c_str(), 0600), 0);
    EXPECT_FALSE(RegularFileOpen(pipe_name.c_str(), nullptr));
    EXPECT_TRUE(OpenForReading(pipe_name.c_str())) << "though nobody writes to it";
    unlink(pipe_name.c_str());
}

TEST_F(FileReading, TakesFurtherFlags) {
    const std::string link = kFile + ".link";
    ASSERT_EQ(symlink(kFile.c_str(), link.c_str()), 0);
    EXPECT_TRUE(OpenForReading(link.c_str()));
    EXPECT_FALSE(OpenForReading(link.c_str(), O_NOFOLLOW));
    EXPECT_EQ(errno, ELOOP);
    unlink(link.c_str());
}

} // namespace
