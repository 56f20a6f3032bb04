// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/why/stamp_text.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include "catalogue/file_stamp.h"

namespace {

class StampTextTest : public testing::Test {
protected:
    StampTextTest() {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    ~StampTextTest() override {
        unsetenv("TZ");
        tzset();
    }
};

std::string StampOf(off_t size, time_t written, time_t changed) {
    struct stat status = {};
    status.st_size = size;
    status.st_mtim = {written, 5};
    status.st_ctim = {changed, 999'999'999};
    status.st_ino = 77;
    return FileStampOf(status);
}

TEST_F(StampTextTest, TellsTheFilesOwnWords) {
    const std::string stamp = StampOf(3'400'000, 1'793'446'259, 1'782'862'389);
    const std::string text = "3.4 MB, written 2026-10-31 12:30:59, changed 2026-07-01 01:33:09";
    EXPECT_EQ(StampText(stamp), text);
    for (const char *more : {"T", "TA", " +3 4.000000000", "TA +3 4.000000000  s00aa"})
        EXPECT_EQ(StampText(stamp + more), text) << more;
    EXPECT_EQ(StampText(FileStampWithoutNumber(stamp)), text);
}

TEST_F(StampTextTest, AnySizeAndAnyTime) {
    EXPECT_EQ(StampText(StampOf(0, 0, 0)), "0 B, written 1970-01-01 01:00:00, changed 1970-01-01 01:00:00");
    EXPECT_EQ(StampText(StampOf(12, -1, 4'102'444'800)),
              "12 B, written 1970-01-01 00:59:59, changed 2100-01-01 01:00:00");
}

TEST_F(StampTextTest, WhatIsNoStampStaysAsItIs) {
    for (const char *other :
         {"", "12", "another stamp", "12 1000.000000005", "12 x.5 2000.0 77 r2", "x 1000.5 2000.0 77 r2",
          "12 1000.000000005 x 77 r2", "99999999999999999999 1000.5 2000.0 77 r2",
          "1 99999999999999999999.0 2.0 77 r2"})
        EXPECT_EQ(StampText(other), other);
}

} // namespace
