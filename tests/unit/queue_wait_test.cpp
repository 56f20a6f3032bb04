// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/queue_wait.h"

#include <gtest/gtest.h>

namespace {

std::string Text(bool after, int64_t age, int64_t quiet) {
    return QueueWaitText({.there = true, .after = after, .age = age, .quiet = quiet});
}

} // namespace

TEST(QueueWait, CountsDownFromTheLastRequest) {
    EXPECT_EQ(Text(false, 0, 12), "begins in 12 s when nothing more comes");
    EXPECT_EQ(Text(false, 11, 12), "begins in 1 s when nothing more comes");
    EXPECT_EQ(QueueWaitSeconds({.there = true, .age = 3, .quiet = 10}), 7);
}

TEST(QueueWait, PromisesNothingThatIsNotKnown) {
    EXPECT_EQ(Text(false, 12, 12), "begins at any moment");
    EXPECT_EQ(Text(false, 24, 12), "begins at any moment");
    EXPECT_EQ(Text(false, 25, 12), "begins when the daemon is told of it");
    EXPECT_EQ(Text(true, 3, 12), "begins after the run that goes on");
    EXPECT_EQ(QueueWaitSeconds({.there = true, .after = true, .quiet = 10}), std::nullopt);
    EXPECT_EQ(QueueWaitSeconds({.quiet = 10}), std::nullopt);
}

TEST(QueueWait, ADaemonThatStartsTakesWhatIsQueuedAtOnce) {
    EXPECT_EQ(QueueWaitText({.there = true, .age = 1, .quiet = 10, .starting = true}),
              "begins at any moment");
    EXPECT_EQ(QueueWaitText({.there = true, .age = 99, .quiet = 10, .starting = true}),
              "begins at any moment");
    EXPECT_EQ(QueueWaitText({.there = true, .after = true, .quiet = 10, .starting = true}),
              "begins after the run that goes on");
    EXPECT_EQ(QueueWaitSeconds({.quiet = 10, .starting = true}), std::nullopt);
}
