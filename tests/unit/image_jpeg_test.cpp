// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/image/image_formats.h"

#include "tests/unit/picture_bytes.h"

#include <gtest/gtest.h>

#include <string>

using namespace picture_bytes;

TEST(JpegSize, BehindTheUsualSegments) {
    const std::string jpeg = kStart + Segment(0xE0, "JFIF\0\1\1\0\0\1\0\1\0\0"s) +
                             Segment(0xDB, std::string(65, '\x10')) + Frame(0xC0, 640, 480) + kScan;
    EXPECT_EQ(SizeOf(jpeg), (Size{640, 480}));
}

TEST(JpegSize, EveryKindOfFrame) {
    for (int marker : {0xC0, 0xC1, 0xC2, 0xC3, 0xC5, 0xC6, 0xC7, 0xC9, 0xCA, 0xCB, 0xCD, 0xCE, 0xCF})
        EXPECT_EQ(SizeOf(kStart + Frame(marker, 10, 20) + kScan), (Size{10, 20})) << marker;
}

TEST(JpegSize, TablesAreNoFrames) {
    for (int marker : {0xC4, 0xC8, 0xCC, 0xDB, 0xDD, 0xFE})
        EXPECT_EQ(SizeOf(kStart + Frame(marker, 10, 20) + Frame(0xC0, 30, 40) + kScan), (Size{30, 40}))
            << marker;
}

TEST(JpegSize, ThumbnailInAnExifSegmentIsNotMistaken) {
    const std::string thumbnail = kStart + Frame(0xC0, 160, 120) + kScan;
    const std::string jpeg =
        kStart + Segment(0xE1, "Exif\0\0"s + thumbnail) + Frame(0xC2, 4000, 3000) + kScan;
    EXPECT_EQ(SizeOf(jpeg), (Size{4000, 3000}));
}

TEST(JpegSize, FillAndStrayBytesBetweenSegments) {
    EXPECT_EQ(SizeOf(kStart + "\xFF\xFF\xFF"s + Frame(0xC0, 5, 6)), (Size{5, 6}));
    EXPECT_EQ(SizeOf(kStart + Segment(0xFE, "x") + "\0\0\xFF\0pad"s + Frame(0xC0, 5, 6)), (Size{5, 6}));
}

TEST(JpegSize, MarkersThatStandAlone) {
    EXPECT_EQ(SizeOf(kStart + "\xFF\x01\xFF\xD0\xFF\xD7"s + Frame(0xC0, 5, 6)), (Size{5, 6}));
}

TEST(JpegSize, NothingBehindTheHeadersCounts) {
    for (const std::string &end : {kScan, "\xFF\xD9"s, "\xFF\xD8"s})
        EXPECT_EQ(SizeOf(kStart + Segment(0xFE, "x") + end + Frame(0xC0, 5, 6)), kUntouched);
}

TEST(JpegSize, LargestAndEmptySides) {
    EXPECT_EQ(SizeOf(kStart + Frame(0xC0, 65535, 65535)), (Size{65535, 65535}));
    EXPECT_EQ(SizeOf(kStart + Frame(0xC0, 0, 6)), kUntouched);
    EXPECT_EQ(SizeOf(kStart + Frame(0xC0, 6, 0)), kUntouched) << "lines that only the first scan would tell";
}

TEST(JpegSize, FrameLengthMustFitItsComponents) {
    EXPECT_EQ(SizeOf(kStart + Frame(0xC0, 5, 6, 1)), (Size{5, 6}));
    EXPECT_EQ(SizeOf(kStart + Frame(0xC0, 5, 6, 0)), kUntouched);
    std::string frame = Frame(0xC0, 5, 6, 3);
    ++frame[3];
    EXPECT_EQ(SizeOf(kStart + frame + "x"), kUntouched);
}

TEST(JpegSize, SegmentLengthBelowItself) {
    EXPECT_EQ(SizeOf(kStart + "\xFF\xFE\0\2"s + Frame(0xC0, 5, 6)), (Size{5, 6}));
    EXPECT_EQ(SizeOf(kStart + "\xFF\xFE\0\1"s + Frame(0xC0, 5, 6)), kUntouched);
    EXPECT_EQ(SizeOf(kStart + "\xFF\xFE\0\0"s + Frame(0xC0, 5, 6)), kUntouched);
}

TEST(JpegSize, CutAnywhere) {
    const std::string jpeg = kStart + Segment(0xFE, "abc") + Frame(0xC0, 5, 6);
    ExpectNeeds(jpeg, 2 + 7 + 10);
    EXPECT_EQ(SizeOf(kStart + "\xFF\xFE\xFF\xFF"s), kUntouched);
}

TEST(JpegSize, SegmentsUpToTheBound) {
    std::string comments;
    for (int i = 0; i < kJpegSegmentsMax - 1; ++i)
        comments += "\xFF\xFE\0\2"s;
    EXPECT_EQ(SizeOf(kStart + comments + Frame(0xC0, 5, 6)), (Size{5, 6}));
    EXPECT_EQ(SizeOf(kStart + comments + Segment(0xFE, "") + Frame(0xC0, 5, 6)), kUntouched);
}

TEST(JpegSize, StrayBytesUpToTheBound) {
    const std::string stray(kJpegStrayBytesMax, '\0');
    const std::string half(kJpegStrayBytesMax / 2, '\0');
    const std::string start = kStart + Segment(0xFE, "x");
    EXPECT_EQ(SizeOf(start + stray + Frame(0xC0, 5, 6)), (Size{5, 6}));
    EXPECT_EQ(SizeOf(start + stray + "\0"s + Frame(0xC0, 5, 6)), kUntouched);
    EXPECT_EQ(SizeOf(start + half + Segment(0xFE, "y") + half + "\0"s + Frame(0xC0, 5, 6)), kUntouched)
        << "the bound is one for the whole file";
    EXPECT_EQ(SizeOf(kStart + std::string(kJpegStrayBytesMax + 2, '\xFF') + Frame(0xC0, 5, 6)), kUntouched);
}

TEST(JpegSize, LargeMetadataCostsOneReadASegment) {
    std::string jpeg = kStart;
    constexpr int kSegments = 300;
    for (int i = 0; i < kSegments; ++i)
        jpeg += Segment(0xE2, std::string(65533, 'x'));
    jpeg += Frame(0xC0, 8000, 6000) + kScan;
    int reads = 0;
    EXPECT_EQ(SizeOf(jpeg, &reads), (Size{8000, 6000}));
    EXPECT_LE(reads, kSegments + 1);
}
