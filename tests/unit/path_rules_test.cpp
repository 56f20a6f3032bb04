// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/path_rules.h"

#include <gtest/gtest.h>

TEST(IsPhotoPath, TakesTheShareAndWhatLiesInIt) {
    EXPECT_TRUE(IsPhotoPath("/volume1/photo"));
    EXPECT_TRUE(IsPhotoPath("/volume1/photo/"));
    EXPECT_TRUE(IsPhotoPath("/volume9/photo/Trips/2009/a.jpg"));
}

TEST(IsPhotoPath, ComparesTheShareWithoutCase) {
    EXPECT_TRUE(IsPhotoPath("/volume1/PhOtO/a.jpg"));
}

TEST(IsPhotoPath, RefusesSiblingsThatBeginTheSame) {
    EXPECT_FALSE(IsPhotoPath("/volume1/photos"));
    EXPECT_FALSE(IsPhotoPath("/volume1/photo2/a.jpg"));
    EXPECT_FALSE(IsPhotoPath("/volume1/phot"));
}

TEST(IsPhotoPath, KnowsVolumesOfOneDigitOnly) {
    EXPECT_FALSE(IsPhotoPath("/volume10/photo/a.jpg"));
    EXPECT_FALSE(IsPhotoPath("/vol/photo/a.jpg"));
    EXPECT_TRUE(IsPhotoPath("/1234567/photo/a.jpg"));
}

TEST(IsPhotoPath, RefusesShortPaths) {
    EXPECT_FALSE(IsPhotoPath(""));
    EXPECT_FALSE(IsPhotoPath("/"));
    EXPECT_FALSE(IsPhotoPath("/volume1"));
    EXPECT_FALSE(IsPhotoPath("/volume1/"));
    EXPECT_FALSE(IsPhotoPath("/volume1/p"));
}

TEST(IsRecyclePath, TakesTheBinOfAShareAndWhatLiesInIt) {
    EXPECT_TRUE(IsRecyclePath("/volume1/music/#recycle"));
    EXPECT_TRUE(IsRecyclePath("/volume1/music/#recycle/"));
    EXPECT_TRUE(IsRecyclePath("/volume1/music/#recycle/a/b.mp3"));
}

TEST(IsRecyclePath, KnowsTheThirdLevelOnly) {
    EXPECT_FALSE(IsRecyclePath("/volume1/#recycle"));
    EXPECT_FALSE(IsRecyclePath("/volume1/#recycle/a"));
    EXPECT_FALSE(IsRecyclePath("/volume1/music/a/#recycle"));
    EXPECT_FALSE(IsRecyclePath("/volume1/music/a/#recycle/b.mp3"));
}

TEST(IsRecyclePath, RefusesNamesThatBeginTheSame) {
    EXPECT_FALSE(IsRecyclePath("/volume1/music/#recycled"));
    EXPECT_FALSE(IsRecyclePath("/volume1/music/#recycle2/a.mp3"));
    EXPECT_FALSE(IsRecyclePath("/volume1/music/#Recycle"));
    EXPECT_FALSE(IsRecyclePath("/volume1/music/recycle"));
}

TEST(IsRecyclePath, RefusesPathsWithFewerThanThreeSlashes) {
    EXPECT_FALSE(IsRecyclePath(""));
    EXPECT_FALSE(IsRecyclePath("#recycle"));
    EXPECT_FALSE(IsRecyclePath("/a/b"));
}

TEST(IsRecyclePath, CountsEverySlash) {
    EXPECT_TRUE(IsRecyclePath("//music/#recycle"));
}
