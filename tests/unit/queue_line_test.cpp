// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_line.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

TEST(QueueLineParse, TakesTheEightCommands) {
    for (const char letter : "ADadRTU"sv) {
        QueueRequest request;
        ASSERT_TRUE(QueueLineParse(std::string(1, letter) + ":/volume1/music/a b.mp3", request));
        EXPECT_EQ(request.command, letter);
        EXPECT_EQ(request.argument, "/volume1/music/a b.mp3");
    }
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse("N:/new:/old", request));
    EXPECT_EQ(request.command, 'N');
}

TEST(QueueLineParse, RefusesUnknownLettersAndLowerCaseOfKnownOnes) {
    QueueRequest request;
    for (const char *line : {"X:/a", "n:/a:/b", "r:music", "t:music", "u:photo", "::", " :/a"})
        EXPECT_FALSE(QueueLineParse(line, request)) << line;
}

TEST(QueueLineParse, RefusesALineWithoutColonInTheSecondPlace) {
    QueueRequest request;
    for (const char *line : {"", "A", "A/volume1", "AA:/volume1", "/volume1/music"})
        EXPECT_FALSE(QueueLineParse(line, request)) << line;
}

TEST(QueueLineParse, KeepsColonsOfOtherCommands) {
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse("a:/volume1/music/12:30.mp3", request));
    EXPECT_EQ(request.argument, "/volume1/music/12:30.mp3");
}

TEST(QueueLineParse, TakesAnEmptyArgument) {
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse("R:", request));
    EXPECT_EQ(request.argument, "");
}

TEST(QueueLineParse, RenameUsesTheFirstTwoOfThreePaths) {
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse("N:/new:/old:/third", request));
    EXPECT_EQ(request.argument, "/new");
    EXPECT_EQ(request.old_path, "/old");
}

TEST(QueueLineParse, RenameSkipsEmptyPieces) {
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse("N:::/new:::/old::", request));
    EXPECT_EQ(request.argument, "/new");
    EXPECT_EQ(request.old_path, "/old");
}

TEST(QueueLineParse, RenameNeedsTwoPaths) {
    QueueRequest request;
    for (const char *line : {"N:", "N:::", "N:/new", "N:/new:", "N::/new:"})
        EXPECT_FALSE(QueueLineParse(line, request)) << line;
}

TEST(QueueLineParse, RefusesZeroBytes) {
    QueueRequest request;
    EXPECT_FALSE(QueueLineParse("D:/volume1\0/music/a.mp3"sv, request));
    EXPECT_FALSE(QueueLineParse("N:/a:/b\0"sv, request));
}
