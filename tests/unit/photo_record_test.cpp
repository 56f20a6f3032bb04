// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_record.h"

#include <gtest/gtest.h>
#include <stdio.h>

namespace {

PhotoRecord Sized(int32_t width, int32_t height) {
    PhotoRecord record = {};
    record.width = width;
    record.height = height;
    EXPECT_EQ(PhotoRecordSanitize(&record), 0);
    return record;
}

std::string Model(const char *text) {
    PhotoRecord record = {};
    snprintf(record.model, sizeof record.model, "%s", text);
    EXPECT_EQ(PhotoRecordSanitize(&record), 0);
    return record.model;
}

} // namespace

TEST(PhotoRecordTest, NoRecordFails) {
    EXPECT_EQ(PhotoRecordSanitize(nullptr), -1);
}

TEST(PhotoRecordTest, PixelsFrom0To8000Stay) {
    EXPECT_EQ(Sized(8000, 0).width, 8000);
    EXPECT_EQ(Sized(0, 8000).height, 8000);
}

TEST(PhotoRecordTest, PixelsOutside0To8000BecomeZeroEachForItself) {
    EXPECT_EQ(Sized(8001, 10).width, 0);
    EXPECT_EQ(Sized(8001, 10).height, 10);
    EXPECT_EQ(Sized(10, 8001).height, 0);
    EXPECT_EQ(Sized(10, 8001).width, 10);
    EXPECT_EQ(Sized(-1, INT32_MIN).width, 0);
    EXPECT_EQ(Sized(-1, INT32_MIN).height, 0);
    EXPECT_EQ(Sized(INT32_MAX, 1).width, 0);
}

TEST(PhotoRecordTest, OneForeignByteEmptiesTheField) {
    EXPECT_EQ(Model("Caf\xE9 500"), "");
    EXPECT_EQ(Model("A\x80"), "");
    EXPECT_EQ(Model("A\x1F"), "");
    EXPECT_EQ(Model("A\n"), "");
}

TEST(PhotoRecordTest, PrintableBytesAndTheirEndsStay) {
    EXPECT_EQ(Model("\x20~\x7F"), "\x20~\x7F");
}

TEST(PhotoRecordTest, DateAndMakeAreLookedAtEachForItself) {
    PhotoRecord record = {};
    snprintf(record.date_taken, sizeof record.date_taken, "2009:03:07 08:09:10\t");
    snprintf(record.make, sizeof record.make, "Maker");
    snprintf(record.title, sizeof record.title, "Caf\xE9");
    EXPECT_EQ(PhotoRecordSanitize(&record), 0);
    EXPECT_STREQ(record.date_taken, "");
    EXPECT_STREQ(record.make, "Maker");
    EXPECT_STREQ(record.title, "Caf\xE9");
    snprintf(record.make, sizeof record.make, "\xFF");
    EXPECT_EQ(PhotoRecordSanitize(&record), 0);
    EXPECT_STREQ(record.make, "");
}
