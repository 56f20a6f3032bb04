// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text and dates of pictures.
#include <gtest/gtest.h>

#include "reader/photo/dates.h"
#include "reader/photo/text.h"

namespace {

using namespace std::string_literals;

std::string Utf16(const std::string &bytes, ByteOrder order) {
    return TextFromUtf16({reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()}, order);
}

std::string DateOf(std::string_view text) {
    PhotoDate date;
    return DateRead(text, &date) ? date.time + date.offset : "none";
}

TEST(PhotoText, BytesAreUtf8OrLatin1) {
    EXPECT_EQ("Straße", TextFromBytes("Straße", ""));
    EXPECT_EQ("Straße", TextFromBytes("Stra\xDF"
                                      "e",
                                      ""));
    EXPECT_EQ("a", TextFromBytes("a\0b"s, ""));
    EXPECT_EQ("", TextFromBytes("", ""));
}

TEST(PhotoText, Utf16InEitherOrder) {
    EXPECT_EQ("a€", Utf16("a\0\xAC\x20"s, ByteOrder::kLittle));
    EXPECT_EQ("a€", Utf16("\0a\x20\xAC"s, ByteOrder::kBig));
    EXPECT_EQ("a", Utf16("\xFE\xFF\0a"s, ByteOrder::kLittle)); // its own mark counts
    EXPECT_EQ("😀", Utf16("\xD8\x3D\xDE\x00"s, ByteOrder::kBig));
    EXPECT_EQ("\uFFFDa", Utf16("\xD8\x3D\0a"s, ByteOrder::kBig));
    EXPECT_EQ("a", Utf16("\0a\0"s, ByteOrder::kBig)); // half a unit is none
}

TEST(PhotoText, CommentsNameTheirCharacters) {
    EXPECT_EQ("words", TextFromUserComment("ASCII\0\0\0words"s, ByteOrder::kBig, ""));
    EXPECT_EQ("é", TextFromUserComment("\0\0\0\0\0\0\0\0\xE9"s, ByteOrder::kBig, ""));
    EXPECT_EQ("a", TextFromUserComment("UNICODE\0\0a"s, ByteOrder::kBig, ""));
    EXPECT_EQ("a", TextFromUserComment("UNICODE\0a\0"s, ByteOrder::kLittle, ""));
    EXPECT_EQ("no code here", TextFromUserComment("no code here", ByteOrder::kBig, ""));
    EXPECT_EQ("", TextFromUserComment("ASC", ByteOrder::kBig, "").substr(3));
}

TEST(PhotoText, PartsBetweenSemicolons) {
    EXPECT_EQ((std::vector<std::string>{"a", " b", ""}), TextParts("a; b;"));
    EXPECT_EQ((std::vector<std::string>{""}), TextParts(""));
}

TEST(PhotoDates, InEachWayOfWriting) {
    EXPECT_EQ("2019-05-04 10:11:12", DateOf("2019:05:04 10:11:12"));
    EXPECT_EQ("2019-05-04 10:11:12+02:00", DateOf("2019-05-04T10:11:12.50+02:00"));
    EXPECT_EQ("2019-05-04 10:11:00+00:00", DateOf("2019-05-04T10:11Z"));
    EXPECT_EQ("2019-05-04 00:00:00", DateOf("20190504"));
    EXPECT_EQ("2019-05-01 00:00:00", DateOf("2019-05"));
    EXPECT_EQ("1985-01-01 00:00:00", DateOf("19850000"));
    EXPECT_EQ("2019-05-04 10:11:12-03:30", DateOf("2019-05-04 10:11:12-03:30"));
    EXPECT_EQ("2009-03-07 08:09:10", DateOf(" 2009:3:7 8:9:10"));
}

TEST(PhotoDates, WhatIsNone) {
    for (const char *text :
         {"", "    :  :     :  :  ", "0000:00:00 00:00:00", "2019:13:01 00:00:00", "2019:01:32 00:00:00",
          "2019:01:01 24:00:00", "2019:01:01 00:60:00", "2019:01:01 00:00:61", "yesterday"})
        EXPECT_EQ("none", DateOf(text)) << text;
}

TEST(PhotoDates, Offsets) {
    EXPECT_EQ("+02:00", DateOffset("+02:00"));
    EXPECT_EQ("-03:30", DateOffset("-0330"));
    EXPECT_EQ("+00:00", DateOffset("Z"));
    EXPECT_EQ("", DateOffset("   :  "));
    EXPECT_EQ("", DateOffset("+15:00"));
}

} // namespace
