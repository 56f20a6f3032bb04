// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_reader.h"
#include "platform/file.h"
#include "tests/unit/child_process.h"
#include "tests/unit/test_files.h"
#include "tools/queue/queue_writer.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <set>

namespace {

constexpr char kQueue[] = "/tmp/queue_writer_test";
constexpr char kCopy[] = "/tmp/queue_writer_test.tmp";

struct QueueWriter : testing::Test {
    void SetUp() override { TearDown(); }
    void TearDown() override {
        std::filesystem::remove_all(kQueue);
        std::filesystem::remove_all(kCopy);
    }
};

} // namespace

TEST_F(QueueWriter, MakesTheQueueAndAppends) {
    ASSERT_EQ(QueueAppend(kQueue, "a:/one\n", nullptr), 0);
    ASSERT_EQ(QueueAppend(kQueue, "a:/two\na:/three\n", nullptr), 0);
    EXPECT_EQ(FileRead(kQueue), "a:/one\na:/two\na:/three\n");
    struct stat status;
    ASSERT_EQ(stat(kQueue, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(QueueWriter, EndsATornLineOfAnotherProgramFirst) {
    FileWrite(kQueue, "a:/one\na:/to");
    ASSERT_EQ(QueueAppend(kQueue, "a:/two\n", nullptr), 0);
    EXPECT_EQ(FileRead(kQueue), "a:/one\na:/to\na:/two\n");
}

TEST_F(QueueWriter, GivesTheFileThatTookTheLines) {
    FdHandle file;
    ASSERT_EQ(QueueAppend(kQueue, "a:/one\n", &file), 0);
    EXPECT_TRUE(IsFileAt(kQueue, file.get()));
    std::filesystem::rename(kQueue, kCopy);
    EXPECT_FALSE(IsFileAt(kQueue, file.get()));
    EXPECT_TRUE(IsFileAt(kCopy, file.get()));
}

TEST_F(QueueWriter, LeavesAloneWhatIsNoFile) {
    std::filesystem::create_directory(kQueue);
    EXPECT_EQ(QueueAppend(kQueue, "a:/one\n", nullptr), EISDIR);
    std::filesystem::remove(kQueue);
    ASSERT_EQ(mkfifo(kQueue, 0600), 0);
    EXPECT_EQ(QueueAppend(kQueue, "a:/one\n", nullptr), EINVAL);
    std::filesystem::remove(kQueue);
    FileWrite(kCopy, "other\n");
    std::filesystem::create_symlink(kCopy, kQueue);
    EXPECT_EQ(QueueAppend(kQueue, "a:/one\n", nullptr), ELOOP);
    EXPECT_EQ(FileRead(kCopy), "other\n");
}

TEST_F(QueueWriter, TakesBackWhatAFullDiskHasCutOff) {
    FileWrite(kQueue, "a:/one\n");
    const int status = ChildRunStatus([] {
        // A limit on the file's size fails as a full disk does: what fits is written, the next write fails.
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {10, 10};
        return setrlimit(RLIMIT_FSIZE, &limit) == 0 ? QueueAppend(kQueue, "a:/two\n", nullptr) : 0;
    });
    EXPECT_EQ(WEXITSTATUS(status), EFBIG);
    EXPECT_EQ(FileRead(kQueue), "a:/one\n");
}

TEST_F(QueueWriter, IsNotHeldForEverByALockOfSomebodyElse) {
    FileWrite(kQueue, "");
    const FdHandle other(open(kQueue, O_RDONLY));
    ASSERT_EQ(flock(other.get(), LOCK_EX), 0);
    ASSERT_EQ(QueueAppend(kQueue, "a:/one\n", nullptr), 0);
    EXPECT_EQ(FileRead(kQueue), "a:/one\n");
}

// The daemon's take-over by itself, as fast as it goes: writers meet it in every place of an append.
TEST_F(QueueWriter, FourWritersLoseAndTearNothingInAThousandTakeOvers) {
    constexpr int kWriters = 4;
    constexpr int kTakeOvers = 1000;
    constexpr int kLinesAhead = 5; // of each writer for each take-over: more would be faster than any reader
    struct Shared {
        std::atomic<int> take_overs;
        std::atomic<int> lines[kWriters];
        std::atomic<int> failed;
    };
    auto *shared = SharedMake<Shared>();
    std::vector<pid_t> writers;
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.push_back(ChildStart([&] {
            while (shared->take_overs < kTakeOvers) {
                if (shared->lines[writer] >= (shared->take_overs + 1) * kLinesAhead) {
                    sched_yield();
                    continue;
                }
                const int line = shared->lines[writer]++;
                const std::string text = "a:/" + std::to_string(writer) + '/' + std::to_string(line) + "\n";
                shared->failed += QueueAppend(kQueue, text, nullptr);
            }
            return 0;
        }));
    }
    std::set<std::string> taken;
    const auto take_over = [&] {
        if (rename(kQueue, kCopy) != 0)
            return false;
        QueueReader reader;
        EXPECT_TRUE(reader.Open(kCopy));
        const size_t before = taken.size();
        for (std::string_view line; reader.Next(&line) || reader.Next(&line);)
            taken.emplace(line);
        // A queue that was made and not yet written to is taken over, too, but shows nothing by itself.
        return unlink(kCopy) == 0 && taken.size() > before;
    };
    while (shared->take_overs < kTakeOvers)
        shared->take_overs += take_over() ? 1 : 0;
    for (const pid_t writer : writers)
        EXPECT_EQ(ChildStatus(writer), 0);
    take_over();
    EXPECT_EQ(shared->failed, 0);
    std::set<std::string> asked;
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int line = 0; line < shared->lines[writer]; ++line)
            asked.insert("a:/" + std::to_string(writer) + '/' + std::to_string(line) + "\n");
    }
    EXPECT_GE(asked.size(), static_cast<size_t>(kTakeOvers));
    EXPECT_EQ(taken, asked);
}
