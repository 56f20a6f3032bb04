// SPDX-License-Identifier: GPL-2.0-or-later
//
// Moments in the names of pictures, and what stands in for them.
#include "catalogue/photo_date.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <string>
#include <utility>
#include <vector>

namespace {

MediaInfo RecordOf(const char *path, const char *taken) {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", path);
    snprintf(record.date_taken, sizeof record.date_taken, "%s", taken);
    return record;
}

} // namespace

TEST(PhotoDate, NamesOfCamerasPhonesAndScreens) {
    const std::pair<const char *, const char *> names[] = {
        {"IMG_20190504_101112.jpg", "2019-05-04 10:11:12"},
        {"/volume1/photo/2018/IMG_20190504_101112_1.jpg", "2019-05-04 10:11:12"},
        {"2019-05-04 10.11.12.jpg", "2019-05-04 10:11:12"},
        {"2019-05-04 10.11.12-2.jpg", "2019-05-04 10:11:12"},
        {"PXL_20201231_235959123.jpg", "2020-12-31 23:59:59"},
        {"PXL_20201231_235959123.PORTRAIT.jpg", "2020-12-31 23:59:59"},
        {"20190504_101112.heic", "2019-05-04 10:11:12"},
        {"20190504101112.heic", "2019-05-04 10:11:12"},
        {"20190504101112345.heic", "2019-05-04 10:11:12"},
        {"Screenshot_20190504-101112.png", "2019-05-04 10:11:12"},
        {"Screenshot_20190504-101112_Some App.png", "2019-05-04 10:11:12"},
        {"Screenshot_2019-05-04-10-11-12-345_com.app.png", "2019-05-04 10:11:12"},
        {"Screenshot from 2019-05-04 10-11-12.png", "2019-05-04 10:11:12"},
        {"Screenshot 2019-05-04 at 10.11.12.png", "2019-05-04 10:11:12"},
        {"Screenshot 2019-05-04 at 9.11.12 AM.png", "2019-05-04 09:11:12"},
        {"Screenshot 2019-05-04 at 09.11.12 AM.png", "2019-05-04 09:11:12"},
        {"Screenshot 2019-05-04 at 09.11.12\u202fPM.png", "2019-05-04 21:11:12"},
        {"Screenshot 2019-05-04 at 12.11.12 AM.png", "2019-05-04 00:11:12"},
        {"WhatsApp Image 2019-05-04 at 10.11.12 (1).jpeg", "2019-05-04 10:11:12"},
        {"IMG-20190504-WA0003.jpg", "2019-05-04 00:00:00"},
        {"signal-2019-05-04-101112.jpg", "2019-05-04 10:11:12"},
        {"2019-05-04T10:11:12.png", "2019-05-04 10:11:12"},
        {"1965-07-14 Grandma.jpg", "1965-07-14 00:00:00"},
        {"2020-02-29.jpg", "2020-02-29 00:00:00"},
        {"DSC_0042_2019_05_04.jpg", "2019-05-04 00:00:00"},
    };
    for (const auto &[name, moment] : names)
        EXPECT_EQ(DateOfName(name), moment) << name;
}

TEST(PhotoDate, OtherNumbersAreNone) {
    for (const char *name : {"",
                             ".jpg",
                             "IMG_1234.jpg",
                             "DSC00042.jpg",
                             "12345678.jpg",
                             "20191304.jpg",
                             "20190230_101112.jpg",
                             "2019-02-30.jpg",
                             "2021-02-29.jpg",
                             "19650714.jpg",
                             "1820-01-01.jpg",
                             "2100-01-01.jpg",
                             "201905041.jpg",
                             "120190504.jpg",
                             "2019-05-041.jpg",
                             "2019-05_04.jpg",
                             "2019-5-4.jpg",
                             "2019-05.jpg",
                             "0000-00-00 00.00.00.jpg",
                             "20190504123.jpg",
                             "x.20190504"})
        EXPECT_EQ(DateOfName(name), "") << name;
}

TEST(PhotoDate, ATimeThatIsNoneLeavesTheDay) {
    for (const char *name : {"2019-05-04 25.11.12.jpg", "IMG_20190504_106112.jpg", "20190504_1011.jpg",
                             "2019-05-04 10.11-12.jpg", "2019-05-04 13.11.12 PM.jpg", "20190504_10111.jpg"})
        EXPECT_EQ(DateOfName(name), "2019-05-04 00:00:00") << name;
}

TEST(PhotoDate, WhatThePictureSaysCountsMost) {
    MediaInfo record = RecordOf("/p/IMG_20190504_101112.jpg", "2001-02-03 04:05:06");
    EXPECT_TRUE(PhotoDateFill(0, &record).empty());
    EXPECT_STREQ(record.date_taken, "2001-02-03 04:05:06");
}

TEST(PhotoDate, ThenTheNameAndThenTheFile) {
    MediaInfo named = RecordOf("/p/IMG_20190504_101112.jpg", "");
    EXPECT_EQ(PhotoDateFill(0, &named), std::vector<std::string>{"name"});
    EXPECT_STREQ(named.date_taken, "2019-05-04 10:11:12");

    setenv("TZ", "UTC", 1);
    tzset();
    MediaInfo plain = RecordOf("/p/2019-05-04/beach.jpg", "");
    EXPECT_EQ(PhotoDateFill(86400, &plain), std::vector<std::string>{"file"});
    EXPECT_STREQ(plain.date_taken, "1970-01-02 00:00:00");
    unsetenv("TZ");
}
