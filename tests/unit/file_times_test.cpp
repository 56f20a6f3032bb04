// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/veluindex.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string>

namespace {

constexpr char kFile[] = "/tmp/file_times_test";
constexpr size_t kTextSize = 32;
constexpr size_t kExactSize = sizeof "2009-03-07 08:09:10";

class FileTimes : public testing::Test {
protected:
    void SetUp() override {
        FILE *file = fopen(kFile, "w");
        ASSERT_NE(file, nullptr);
        fclose(file);
        SetZone("UTC");
    }

    void TearDown() override {
        unlink(kFile);
        unsetenv("TZ");
        tzset();
    }

    static void SetZone(const char *zone) { setenv("TZ", zone, 1); }

    static void SetModified(time_t seconds) {
        const timespec times[2] = {{seconds, 0}, {seconds, 999'999'999}};
        ASSERT_EQ(utimensat(AT_FDCWD, kFile, times, 0), 0);
    }

    int Get(const char *path) {
        memset(changed_, 'x', sizeof changed_);
        memset(modified_, 'x', sizeof modified_);
        return VELUIndexCTimeMTimeGet(path, changed_, sizeof changed_, modified_, sizeof modified_);
    }

    char changed_[kTextSize];
    char modified_[kTextSize];
};

} // namespace

TEST_F(FileTimes, ARunHasTheZoneOfItsBegin) {
    SetModified(1236413350);
    VELUIndexRunBegin();
    SetZone("UTC-9");
    EXPECT_EQ(Get(kFile), 0);
    EXPECT_STREQ(modified_, "2009-03-07 08:09:10");
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(Get(kFile), 0);
    EXPECT_STREQ(modified_, "2009-03-07 17:09:10");
}

TEST_F(FileTimes, LastWriteAsText) {
    SetModified(1236413350);
    EXPECT_EQ(Get(kFile), 0);
    EXPECT_STREQ(modified_, "2009-03-07 08:09:10");
}

TEST_F(FileTimes, StatusChangeIsTheOtherOne) {
    SetModified(0);
    EXPECT_EQ(Get(kFile), 0);
    EXPECT_STREQ(modified_, "1970-01-01 00:00:00");
    struct stat status;
    ASSERT_EQ(stat(kFile, &status), 0);
    char expected[kTextSize];
    strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", gmtime(&status.st_ctime));
    EXPECT_STREQ(changed_, expected);
}

TEST_F(FileTimes, LocalTimeFollowsTheZoneWhileRunning) {
    SetModified(1236413350);
    SetZone("XXX-2");
    EXPECT_EQ(Get(kFile), 0);
    EXPECT_STREQ(modified_, "2009-03-07 10:09:10");
    SetZone("XXX+9");
    EXPECT_EQ(Get(kFile), 0);
    EXPECT_STREQ(modified_, "2009-03-06 23:09:10");
}

TEST_F(FileTimes, BeforeTheEpoch) {
    SetModified(-1);
    EXPECT_EQ(Get(kFile), 0);
    EXPECT_STREQ(modified_, "1969-12-31 23:59:59");
}

TEST_F(FileTimes, DirectoriesHaveTimesToo) {
    EXPECT_EQ(Get("/tmp"), 0);
}

TEST_F(FileTimes, LinksAreFollowed) {
    SetModified(1236413350);
    constexpr char kLink[] = "/tmp/file_times_link";
    ASSERT_EQ(symlink(kFile, kLink), 0);
    EXPECT_EQ(Get(kLink), 0);
    EXPECT_STREQ(modified_, "2009-03-07 08:09:10");
    unlink(kLink);
}

TEST_F(FileTimes, MissingFileEmptiesBoth) {
    EXPECT_EQ(Get("/tmp/file_times_missing"), -1);
    EXPECT_STREQ(changed_, "");
    EXPECT_STREQ(modified_, "");
    EXPECT_EQ(Get(nullptr), -1);
    EXPECT_STREQ(changed_, "");
    EXPECT_STREQ(modified_, "");
}

TEST_F(FileTimes, BufferAtTheBoundAndOneByteShort) {
    char exact[kExactSize];
    EXPECT_EQ(VELUIndexCTimeMTimeGet(kFile, changed_, kTextSize, exact, sizeof exact), 0);
    EXPECT_EQ(strlen(exact), sizeof exact - 1);
    EXPECT_EQ(VELUIndexCTimeMTimeGet(kFile, changed_, kTextSize, exact, sizeof exact - 1), -1);
    EXPECT_STREQ(changed_, "");
    EXPECT_STREQ(exact, "");
    EXPECT_EQ(VELUIndexCTimeMTimeGet(kFile, exact, 0, modified_, kTextSize), -1);
    EXPECT_STREQ(modified_, "");
}

TEST_F(FileTimes, MissingBufferFails) {
    EXPECT_EQ(VELUIndexCTimeMTimeGet(kFile, nullptr, kTextSize, modified_, kTextSize), -1);
    EXPECT_STREQ(modified_, "");
    EXPECT_EQ(VELUIndexCTimeMTimeGet(kFile, changed_, kTextSize, nullptr, kTextSize), -1);
    EXPECT_STREQ(changed_, "");
}
