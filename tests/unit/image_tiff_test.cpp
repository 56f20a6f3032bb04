// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/image/image_formats.h"

#include "platform/veluindex.h"
#include "tests/unit/picture_bytes.h"
#include "tests/unit/scratch_file.h"

#include <gtest/gtest.h>

#include <stdio.h>

#include <string>
#include <vector>

using namespace picture_bytes;

namespace {

class TiffSize : public testing::TestWithParam<Tiff> {};

} // namespace

TEST_P(TiffSize, ShortAndLongValues) {
    const Tiff &tiff = GetParam();
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 3, 65535), tiff.Entry(257, 4, 70000)})),
              (Size{65535, 70000}));
    EXPECT_EQ(
        SizeOf(tiff.File({tiff.Entry(254, 4, 9), tiff.Entry(256, 4, INT32_MAX), tiff.Entry(257, 3, 1)})),
        (Size{INT32_MAX, 1}));
}

TEST_P(TiffSize, EntriesOutOfOrder) {
    const Tiff &tiff = GetParam();
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(257, 3, 4), tiff.Entry(258, 3, 8), tiff.Entry(256, 3, 3)})),
              (Size{3, 4}));
}

TEST_P(TiffSize, OneSideMissing) {
    const Tiff &tiff = GetParam();
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 3, 3), tiff.Entry(258, 3, 8)})), kUntouched);
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(257, 3, 3)})), kUntouched);
    EXPECT_EQ(SizeOf(tiff.File({})), kUntouched);
}

TEST_P(TiffSize, ValuesThatAreNoSize) {
    const Tiff &tiff = GetParam();
    const std::string height = tiff.Entry(257, 3, 4);
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 3, 0), height})), kUntouched);
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 4, 0x80000000), height})), kUntouched);
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 3, 5, 2), height})), kUntouched)
        << "an array is not in its field";
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 3, 5, 0), height})), kUntouched);
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 2, 5), height})), kUntouched) << "text";
    EXPECT_EQ(SizeOf(tiff.File({tiff.Entry(256, 11, 5), height})), kUntouched) << "floating point";
}

TEST_P(TiffSize, DirectoryBehindPixels) {
    const Tiff &tiff = GetParam();
    const uint64_t directory = tiff.HeaderSize() + 100'000;
    EXPECT_EQ(SizeOf(tiff.Header(directory) + std::string(100'000, 'p') +
                     tiff.Directory({tiff.Entry(256, 3, 3), tiff.Entry(257, 3, 4)})),
              (Size{3, 4}));
}

TEST_P(TiffSize, OnlyTheFirstDirectoryCounts) {
    const Tiff &tiff = GetParam();
    std::string file = tiff.File({tiff.Entry(258, 3, 8)});
    const std::string next = tiff.Number(file.size(), tiff.OffsetSize());
    file.replace(file.size() - next.size(), next.size(), next);
    file += tiff.Directory({tiff.Entry(256, 3, 3), tiff.Entry(257, 3, 4)});
    EXPECT_EQ(SizeOf(file), kUntouched);
}

TEST_P(TiffSize, DirectoryThatPointsAtItself) {
    const Tiff &tiff = GetParam();
    std::string file = tiff.File({tiff.Entry(258, 3, 8)});
    const std::string itself = tiff.Number(tiff.HeaderSize(), tiff.OffsetSize());
    file.replace(file.size() - itself.size(), itself.size(), itself);
    EXPECT_EQ(SizeOf(file), kUntouched);
    EXPECT_EQ(SizeOf(tiff.Header(0)), kUntouched) << "the header as a directory";
}

TEST_P(TiffSize, OffsetsPastTheEnd) {
    const Tiff &tiff = GetParam();
    const uint64_t largest = tiff.big ? UINT64_MAX : UINT32_MAX;
    for (uint64_t back : {0U, 1U, 7U, 8U, 19U, 4096U})
        EXPECT_EQ(SizeOf(tiff.Header(largest - back)), kUntouched);
    if (tiff.big) {
        for (uint64_t offset : {uint64_t{INT64_MAX} - 4096, uint64_t{INT64_MAX} - 4095, uint64_t{INT64_MAX},
                                uint64_t{INT64_MAX} + 1})
            EXPECT_EQ(SizeOf(tiff.Header(offset)), kUntouched);
    }
}

TEST_P(TiffSize, CutAnywhere) {
    const Tiff &tiff = GetParam();
    const std::string file = tiff.File({tiff.Entry(256, 3, 3), tiff.Entry(257, 3, 4)});
    ExpectNeeds(file, file.size() - tiff.OffsetSize());
}

TEST_P(TiffSize, EntriesUpToTheBound) {
    const Tiff &tiff = GetParam();
    std::vector<std::string> entries(kTiffEntriesMax - 2, tiff.Entry(700, 3, 1));
    entries.push_back(tiff.Entry(256, 3, 3));
    entries.push_back(tiff.Entry(257, 3, 4));
    EXPECT_EQ(SizeOf(tiff.File(entries)), (Size{3, 4}));
    entries.insert(entries.begin(), tiff.Entry(700, 3, 1));
    EXPECT_EQ(SizeOf(tiff.File(entries)), kUntouched);
}

TEST_P(TiffSize, CountOfEntriesMayLie) {
    const Tiff &tiff = GetParam();
    const std::string sides = tiff.Entry(256, 3, 3) + tiff.Entry(257, 3, 4);
    const std::string start = tiff.Header(tiff.HeaderSize());
    const uint64_t largest = tiff.big ? UINT64_MAX : UINT16_MAX;
    EXPECT_EQ(SizeOf(start + tiff.Number(largest, tiff.big ? 8 : 2) + sides), (Size{3, 4}));
    EXPECT_EQ(SizeOf(start + tiff.Number(largest, tiff.big ? 8 : 2) + tiff.Entry(256, 3, 3)), kUntouched);
    EXPECT_EQ(SizeOf(start + tiff.Number(1, tiff.big ? 8 : 2) + sides), kUntouched);
}

INSTANTIATE_TEST_SUITE_P(Layouts, TiffSize,
                         testing::Values(Tiff{ByteOrder::kLittle, false}, Tiff{ByteOrder::kBig, false},
                                         Tiff{ByteOrder::kLittle, true}, Tiff{ByteOrder::kBig, true}),
                         [](const auto &layout) {
                             return std::string(layout.param.big ? "Big" : "Classic") +
                                    (layout.param.order == ByteOrder::kBig ? "MM" : "II");
                         });

TEST(BigTiffSize, Long8Values) {
    const Tiff big = {ByteOrder::kLittle, true};
    EXPECT_EQ(SizeOf(big.File({big.Entry(256, 16, 100'000), big.Entry(257, 16, 3)})), (Size{100'000, 3}));
    EXPECT_EQ(SizeOf(big.File({big.Entry(256, 16, uint64_t{1} << 32 | 5), big.Entry(257, 16, 3)})),
              kUntouched);
}

TEST(BigTiffSize, HeaderMustTellEightByteOffsets) {
    const Tiff big = {ByteOrder::kLittle, true};
    std::string file = big.File({big.Entry(256, 3, 3), big.Entry(257, 3, 4)});
    file[4] = 4;
    EXPECT_EQ(SizeOf(file), kUntouched);
    file[4] = 8;
    file[6] = 1;
    EXPECT_EQ(SizeOf(file), kUntouched);
}

TEST(BigTiffSize, DirectoryFarBehindFourGigabytes) {
    const ScratchFile sparse("");
    const Tiff big = {ByteOrder::kBig, true};
    const uint64_t directory = uint64_t{5} << 30;
    FILE *file = fopen(sparse.c_str(), "w");
    ASSERT_NE(file, nullptr);
    const std::string head = big.Header(directory);
    const std::string tail = big.Directory({big.Entry(256, 3, 3), big.Entry(257, 3, 4)});
    ASSERT_EQ(fwrite(head.data(), 1, head.size(), file), head.size());
    ASSERT_EQ(fseeko(file, static_cast<off_t>(directory), SEEK_SET), 0);
    ASSERT_EQ(fwrite(tail.data(), 1, tail.size(), file), tail.size());
    ASSERT_EQ(fclose(file), 0);
    Size size = kUntouched;
    EXPECT_EQ(VELUIndexImgResGet(sparse.c_str(), &size.width, &size.height), 0);
    EXPECT_EQ(size, (Size{3, 4}));
}
