// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/path.h"

#include <gtest/gtest.h>

TEST(Path, IsUnderADirectoryBelowItOnly) {
    EXPECT_TRUE(PathIsUnder("/a/b", "/a"));
    EXPECT_TRUE(PathIsUnder("/a/b/c", "/a"));
    EXPECT_TRUE(PathIsUnder("/a/", "/a"));
    EXPECT_FALSE(PathIsUnder("/a", "/a"));
    EXPECT_FALSE(PathIsUnder("/ab", "/a")) << "a sibling whose name merely starts the same";
    EXPECT_FALSE(PathIsUnder("/a", "/a/b"));
    EXPECT_FALSE(PathIsUnder("", "/a"));
}

TEST(Path, IsAtADirectoryToo) {
    EXPECT_TRUE(PathIsAtOrUnder("/a", "/a"));
    EXPECT_TRUE(PathIsAtOrUnder("/a/b", "/a"));
    EXPECT_FALSE(PathIsAtOrUnder("/ab", "/a"));
}

TEST(Path, IsUnderTheRootWhenItIsAbsolute) {
    EXPECT_TRUE(PathIsUnder("/a", ""));
    EXPECT_FALSE(PathIsUnder("a", ""));
}

TEST(Path, TheRangeUnderADirectoryHasWhatIsBelowItAlone) {
    const PathRange range = RangeUnder("/a");
    for (const std::string path : {"/a/", "/a/b", "/a/b/c", "/a/\xff"})
        EXPECT_TRUE(path >= range.low && path < range.high) << path;
    for (const std::string path : {"/a", "/a!", "/a.b", "/a0", "/ab", "/b"})
        EXPECT_FALSE(path >= range.low && path < range.high) << path;
    EXPECT_EQ(RangeUnder("").low, "/");
}
