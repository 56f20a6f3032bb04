// SPDX-License-Identifier: GPL-2.0-or-later
//
// A run of the queue that meets the want of memory: each allocation fails in its turn, from the take-over to the
// end. The daemon lives, and what was asked is done, if not at once then by the run that does again what was kept.
#include "daemon/queue.h"

#include "daemon/queue_kept.h"
#include "platform/veluindex.h"
#include "tests/unit/catalogue_fixture.h"
#include "tests/unit/failing_new.h"
#include "tests/unit/test_files.h"

namespace {

constexpr char kFile[] = "/volume1/music/memory.pcm";

using QueueMemory = SqliteStore;

TEST_F(QueueMemory, NoRequestIsLost) {
    FileWrite(kFile, "x");
    LogCatcher log;
    int number = 0;
    size_t kept = 0;
    size_t stays = 0;
    for (bool failed = true; failed;) {
        FileWrite(kQueueFile, std::string("a:") + kFile + "\n");
        NewFailAt(++number);
        EXPECT_NO_THROW(IndexQueueProcess(QueueOccasion::queued)) << "allocation " << number;
        failed = NewFailed();
        const bool copy_stays = std::filesystem::exists(kQueueWorkingCopy);
        if (copy_stays || std::filesystem::exists(kKeptFile)) {
            EXPECT_TRUE(failed);
            ++(copy_stays ? stays : kept);
            IndexQueueProcess(QueueOccasion::again);
        }
        EXPECT_EQ(Paths("music"), kFile) << "allocation " << number;
        EXPECT_FALSE(std::filesystem::exists(kQueueWorkingCopy)) << "allocation " << number;
        EXPECT_FALSE(std::filesystem::exists(kKeptFile)) << "allocation " << number;
        ASSERT_EQ(VELUTruncateTable("music"), 0);
    }
    EXPECT_GT(number, 20) << "a connection and a row take more than that";
    EXPECT_GT(kept, 10U);
    EXPECT_EQ(log.Lines(std::string("Requests kept in ") + kKeptFile + ": 1.").size(), kept);
    EXPECT_EQ(log.Lines("is kept for the next run.").size(), stays);
    std::filesystem::remove(kFile);
}

} // namespace
