// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/queue/request_path.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

namespace {

struct RequestPath : testing::Test {
    void SetUp() override {
        std::filesystem::create_directories("/tmp/paths/real/deep");
        std::filesystem::create_directory_symlink("/tmp/paths/real/deep", "/tmp/paths/link");
        ASSERT_EQ(chdir("/tmp/paths"), 0);
    }
    void TearDown() override {
        ASSERT_EQ(chdir("/"), 0);
        std::filesystem::remove_all("/tmp/paths");
    }
};

} // namespace

TEST_F(RequestPath, AnAbsolutePathStays) {
    EXPECT_EQ(RequestPathMake("/volume1/music/a b.mp3"), "/volume1/music/a b.mp3");
    EXPECT_EQ(RequestPathMake("/"), "/");
}

TEST_F(RequestPath, ARelativePathBeginsAtTheWorkingDirectory) {
    EXPECT_EQ(RequestPathMake("song.mp3"), "/tmp/paths/song.mp3");
    EXPECT_EQ(RequestPathMake("./gone/song.mp3"), "/tmp/paths/gone/song.mp3");
    EXPECT_EQ(RequestPathMake("."), "/tmp/paths");
}

TEST_F(RequestPath, DotsAndDoubledSlashesGo) {
    EXPECT_EQ(RequestPathMake("//volume1/./music//Album/"), "/volume1/music/Album");
    EXPECT_EQ(RequestPathMake("/volume1/...//.hidden"), "/volume1/.../.hidden");
}

TEST_F(RequestPath, LinksStayAsTheyAre) {
    EXPECT_EQ(RequestPathMake("link"), "/tmp/paths/link");
    EXPECT_EQ(RequestPathMake("link/song.mp3"), "/tmp/paths/link/song.mp3");
}

TEST_F(RequestPath, WhatIsAboveALinkIsAboveItsTarget) {
    EXPECT_EQ(RequestPathMake("link/../song.mp3"), "/tmp/paths/real/song.mp3");
    EXPECT_EQ(RequestPathMake("real/../../x"), "/tmp/x");
    EXPECT_EQ(RequestPathMake("/../x"), "/x");
}

TEST_F(RequestPath, WhatIsAboveNothingIsRefused) {
    errno = 0;
    EXPECT_EQ(RequestPathMake("gone/../song.mp3"), "");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(RequestPathMake(""), "");
}

TEST_F(RequestPath, AShareIsItsDirectory) {
    EXPECT_EQ(RequestPathMake("/var/services/music"), "/volume1/music");
    EXPECT_EQ(RequestPathMake("/var/services/photo/Trip/a.jpg"), "/volume1/photo/Trip/a.jpg");
    EXPECT_EQ(RequestPathMake("/var/services/musical/a.mp3"), "/var/services/musical/a.mp3");
}

TEST_F(RequestPath, AParentEndsBeforeTheLastSlash) {
    EXPECT_EQ(ParentOf("/volume1/music/a"), "/volume1/music");
    EXPECT_EQ(ParentOf("/volume1"), "/");
    EXPECT_EQ(ParentOf("/"), "/");
}
