// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/image_formats.h"
#include "platform/veluindex.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

struct Size {
    int width;
    int height;
    bool operator==(const Size &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Size &size) {
    return out << size.width << "x" << size.height;
}

constexpr Size kUntouched = {-7, -7};

// What readers asked of a picture that lies in memory.
struct Memory {
    const std::string &bytes;
    int reads = 0;
};

size_t ReadMemory(void *context, uint64_t offset, uint8_t *out, size_t size) {
    auto *memory = static_cast<Memory *>(context);
    ++memory->reads;
    if (offset >= memory->bytes.size())
        return 0;
    return memory->bytes.copy(reinterpret_cast<char *>(out), size, static_cast<size_t>(offset));
}

// The size of a picture, or kUntouched when there is none.
Size SizeOf(const std::string &bytes, int *reads = nullptr) {
    Memory memory = {bytes};
    Size size = kUntouched;
    const int result = PictureSizeRead({ReadMemory, &memory}, &size.width, &size.height);
    EXPECT_EQ(result, size == kUntouched ? -1 : 0);
    if (reads != nullptr)
        *reads = memory.reads;
    return size;
}

std::string Number(uint64_t number, size_t size, ByteOrder order) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i, number >>= 8)
        bytes.push_back(static_cast<char>(number & 0xFF));
    if (order == ByteOrder::kBig)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

std::string Big(uint64_t number, size_t size) {
    return Number(number, size, ByteOrder::kBig);
}
std::string Little(uint64_t number, size_t size) {
    return Number(number, size, ByteOrder::kLittle);
}

// Every proper prefix of a picture whose size stands in its first `needed` bytes has none.
void ExpectNeeds(const std::string &picture, size_t needed) {
    EXPECT_NE(SizeOf(picture.substr(0, needed)), kUntouched);
    for (size_t length = 0; length < needed; ++length)
        EXPECT_EQ(SizeOf(picture.substr(0, length)), kUntouched) << length;
}

// --- JPEG

constexpr char kStart[] = "\xFF\xD8";

std::string Segment(int marker, const std::string &content) {
    return "\xFF"s + static_cast<char>(marker) + Big(content.size() + 2, 2) + content;
}

std::string Frame(int marker, uint64_t width, uint64_t height, uint8_t components = 3) {
    return Segment(marker, "\x08" + Big(height, 2) + Big(width, 2) + static_cast<char>(components) +
                               std::string(size_t{components} * 3, '\x11'));
}

const std::string kScan = Segment(0xDA, "\x01\x01\0\0\x3F\0"s) + "data\xFF\xD9";

// --- TIFF

struct Tiff {
    ByteOrder order = ByteOrder::kLittle;
    bool big = false;

    std::string Number(uint64_t number, size_t size) const { return ::Number(number, size, order); }
    size_t OffsetSize() const { return big ? 8 : 4; }
    uint64_t HeaderSize() const { return big ? 16 : 8; }

    std::string Header(uint64_t directory) const {
        return (order == ByteOrder::kLittle ? "II" : "MM") + Number(big ? 43 : 42, 2) +
               (big ? Number(8, 2) + Number(0, 2) : "") + Number(directory, OffsetSize());
    }

    std::string Entry(uint64_t tag, uint64_t type, uint64_t value, uint64_t count = 1) const {
        const size_t width = type == 3 ? 2 : type == 16 ? 8 : 4;
        std::string field = Number(value, width);
        field.resize(OffsetSize(), '\0');
        return Number(tag, 2) + Number(type, 2) + Number(count, OffsetSize()) + field;
    }

    std::string Directory(const std::vector<std::string> &entries) const {
        std::string bytes = Number(entries.size(), big ? 8 : 2);
        for (const std::string &entry : entries)
            bytes += entry;
        return bytes + Number(0, OffsetSize());
    }

    std::string File(const std::vector<std::string> &entries) const {
        return Header(HeaderSize()) + Directory(entries);
    }
};

// --- BMP, ICO

std::string Bmp(uint32_t header, const std::string &fields) {
    return "BM" + std::string(12, '\0') + Little(header, 4) + fields + std::string(128, '\0');
}

std::string Ico(uint8_t width, uint8_t height, uint64_t entries = 1, uint64_t type = 1) {
    return Little(0, 2) + Little(type, 2) + Little(entries, 2) + static_cast<char>(width) +
           static_cast<char>(height) + std::string(6, '\0') + Little(40, 4) + Little(6 + 16 * entries, 4);
}

std::string Png(uint32_t width, uint32_t height) {
    return "\x89PNG\r\n\x1A\n"s + Big(13, 4) + "IHDR" + Big(width, 4) + Big(height, 4) + "\x08\x02\0\0\0"s;
}

std::string Psd(uint64_t version, uint32_t width, uint32_t height) {
    return "8BPS" + Big(version, 2) + std::string(6, '\0') + Big(3, 2) + Big(height, 4) + Big(width, 4);
}

// --- Files

class ImageFile : public testing::Test {
protected:
    void SetUp() override {
        char folder[] = "/tmp/image_size.XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
    }

    void TearDown() override { ASSERT_EQ(system(("rm -rf " + folder_).c_str()), 0); }

    std::string Path(const std::string &name) const { return folder_ + "/" + name; }

    std::string Write(const std::string &name, const std::string &bytes) const {
        std::ofstream(Path(name), std::ios::binary) << bytes;
        return Path(name);
    }

    static std::string Read(const std::string &path) {
        std::ostringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        return bytes.str();
    }

    // Lets ImageMagick make a picture; `name` may begin with its name of a format and a colon.
    std::string Make(const std::string &arguments, const std::string &name) const {
        const size_t colon = name.find(':');
        const std::string format = colon == std::string::npos ? "" : name.substr(0, colon + 1);
        const std::string path = Path(colon == std::string::npos ? name : name.substr(colon + 1));
        const std::string command = "/usr/bin/convert " + arguments + " " + format + path;
        EXPECT_EQ(system(command.c_str()), 0) << command;
        return path;
    }

    static Size Get(const std::string &path) {
        Size size = kUntouched;
        const int result = VELUIndexImgResGet(path.c_str(), &size.width, &size.height);
        EXPECT_EQ(result, size == kUntouched ? -1 : 0);
        return size;
    }

    std::string folder_;
};

constexpr char kGradient[] = "-size 321x123 gradient:red-blue";
constexpr Size kGradientSize = {321, 123};

} // namespace

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
    for (int i = 0; i < kJpegMaxSegments - 1; ++i)
        comments += "\xFF\xFE\0\2"s;
    EXPECT_EQ(SizeOf(kStart + comments + Frame(0xC0, 5, 6)), (Size{5, 6}));
    EXPECT_EQ(SizeOf(kStart + comments + Segment(0xFE, "") + Frame(0xC0, 5, 6)), kUntouched);
}

TEST(JpegSize, StrayBytesUpToTheBound) {
    const std::string stray(kJpegMaxStrayBytes, '\0');
    const std::string half(kJpegMaxStrayBytes / 2, '\0');
    const std::string start = kStart + Segment(0xFE, "x");
    EXPECT_EQ(SizeOf(start + stray + Frame(0xC0, 5, 6)), (Size{5, 6}));
    EXPECT_EQ(SizeOf(start + stray + "\0"s + Frame(0xC0, 5, 6)), kUntouched);
    EXPECT_EQ(SizeOf(start + half + Segment(0xFE, "y") + half + "\0"s + Frame(0xC0, 5, 6)), kUntouched)
        << "the bound is one for the whole file";
    EXPECT_EQ(SizeOf(kStart + std::string(kJpegMaxStrayBytes + 2, '\xFF') + Frame(0xC0, 5, 6)), kUntouched);
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

TEST(PngSize, HeaderChunk) {
    EXPECT_EQ(SizeOf(Png(7, 9)), (Size{7, 9}));
    EXPECT_EQ(SizeOf(Png(INT32_MAX, 1)), (Size{INT32_MAX, 1}));
    EXPECT_EQ(SizeOf(Png(1, 0x80000000)), kUntouched);
    EXPECT_EQ(SizeOf(Png(0x80000000, 1)), kUntouched);
    EXPECT_EQ(SizeOf(Png(0, 9)), kUntouched);
    EXPECT_EQ(SizeOf(Png(9, 0)), kUntouched);
    ExpectNeeds(Png(7, 9), 24);
}

TEST(PngSize, AnotherFirstChunk) {
    std::string png = Png(7, 9);
    png.replace(12, 4, "IDAT");
    EXPECT_EQ(SizeOf(png), kUntouched);
    png = Png(7, 9);
    png[11] = 12;
    EXPECT_EQ(SizeOf(png), kUntouched);
}

TEST(GifSize, LogicalScreen) {
    EXPECT_EQ(SizeOf("GIF89a" + Little(300, 2) + Little(200, 2)), (Size{300, 200}));
    EXPECT_EQ(SizeOf("GIF87a" + Little(65535, 2) + Little(1, 2)), (Size{65535, 1}));
    EXPECT_EQ(SizeOf("GIF89a" + Little(0, 2) + Little(1, 2)), kUntouched);
    EXPECT_EQ(SizeOf("GIF88a" + Little(1, 2) + Little(1, 2)), kUntouched);
    ExpectNeeds("GIF89a" + Little(300, 2) + Little(200, 2), 10);
}

TEST(BmpSize, InfoHeaders) {
    for (uint32_t header : {16U, 40U, 52U, 56U, 64U, 108U, 124U})
        EXPECT_EQ(SizeOf(Bmp(header, Little(70000, 4) + Little(50, 4))), (Size{70000, 50})) << header;
    ExpectNeeds(Bmp(40, Little(3, 4) + Little(4, 4)), 26);
}

TEST(BmpSize, CoreHeaderHas16BitSides) {
    EXPECT_EQ(SizeOf(Bmp(12, Little(300, 2) + Little(65535, 2))), (Size{300, 65535}));
}

TEST(BmpSize, NegativeHeightIsTopDown) {
    EXPECT_EQ(SizeOf(Bmp(40, Little(3, 4) + Little(0xFFFFFFFF, 4))), (Size{3, 1}));
    EXPECT_EQ(SizeOf(Bmp(40, Little(3, 4) + Little(0x80000001, 4))), (Size{3, INT32_MAX}));
    EXPECT_EQ(SizeOf(Bmp(40, Little(3, 4) + Little(0x80000000, 4))), kUntouched);
}

TEST(BmpSize, NegativeWidthIsDamage) {
    EXPECT_EQ(SizeOf(Bmp(40, Little(0xFFFFFFFF, 4) + Little(4, 4))), kUntouched);
}

TEST(BmpSize, UnknownHeaderLengths) {
    for (uint32_t header : {0U, 11U, 13U, 15U, 125U, 0xFFFFFFFFU})
        EXPECT_EQ(SizeOf(Bmp(header, Little(3, 4) + Little(4, 4))), kUntouched) << header;
}

class TiffSize : public testing::TestWithParam<Tiff> {};

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
    std::vector<std::string> entries(kTiffMaxEntries - 2, tiff.Entry(700, 3, 1));
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

TEST(PsdSize, BothVersions) {
    EXPECT_EQ(SizeOf(Psd(1, 30000, 20)), (Size{30000, 20}));
    EXPECT_EQ(SizeOf(Psd(2, 300000, 20)), (Size{300000, 20}));
    EXPECT_EQ(SizeOf(Psd(3, 30, 20)), kUntouched);
    EXPECT_EQ(SizeOf(Psd(0, 30, 20)), kUntouched);
    EXPECT_EQ(SizeOf(Psd(1, 0, 20)), kUntouched);
    ExpectNeeds(Psd(1, 30, 20), 22);
}

TEST(IcoSize, FirstEntry) {
    EXPECT_EQ(SizeOf(Ico(16, 32)), (Size{16, 32}));
    EXPECT_EQ(SizeOf(Ico(0, 0)), (Size{256, 256}));
    EXPECT_EQ(SizeOf(Ico(255, 1, 3)), (Size{255, 1}));
    EXPECT_EQ(SizeOf(Ico(16, 32, 65535)), (Size{16, 32}));
    ExpectNeeds(Ico(16, 32), 22);
}

TEST(IcoSize, DirectoriesThatAreNone) {
    EXPECT_EQ(SizeOf(Ico(16, 32, 0)), kUntouched);
    EXPECT_EQ(SizeOf(Ico(16, 32, 1, 2)), kUntouched) << "a cursor";
    std::string empty_image = Ico(16, 32);
    empty_image.replace(14, 4, Little(0, 4));
    EXPECT_EQ(SizeOf(empty_image), kUntouched);
    std::string image_in_directory = Ico(16, 32);
    image_in_directory.replace(18, 4, Little(21, 4));
    EXPECT_EQ(SizeOf(image_in_directory), kUntouched);
}

TEST(PictureSize, OtherContentHasNone) {
    EXPECT_EQ(SizeOf(""), kUntouched);
    EXPECT_EQ(SizeOf("B"), kUntouched);
    EXPECT_EQ(SizeOf("\xFF\xD8"), kUntouched);
    EXPECT_EQ(SizeOf("plain text that is no picture at all"), kUntouched);
    EXPECT_EQ(SizeOf(std::string(5000, '\0')), kUntouched);
}

TEST(PictureSize, UsualHeadersCostOneRead) {
    int reads = 0;
    SizeOf(kStart + Segment(0xE0, std::string(14, 'x')) + Frame(0xC0, 5, 6) + std::string(100'000, 'p'),
           &reads);
    EXPECT_EQ(reads, 1);
    SizeOf(Png(7, 9) + std::string(100'000, 'p'), &reads);
    EXPECT_EQ(reads, 1);
}

TEST(ImageBytes, AtTheWindowsEdge) {
    const std::string bytes = std::string(kImageWindow, 'a') + std::string(kImageWindow, 'b');
    Memory memory = {bytes};
    const auto reader = std::make_unique<ImageReader>();
    reader->source = {ReadMemory, &memory};
    EXPECT_EQ(*ImageBytes(reader.get(), kImageWindow - 1, 1), 'a');
    EXPECT_EQ(memcmp(ImageBytes(reader.get(), kImageWindow - 1, 2), "ab", 2), 0);
    EXPECT_NE(ImageBytes(reader.get(), 0, kImageWindow), nullptr);
    EXPECT_EQ(ImageBytes(reader.get(), 0, kImageWindow + 1), nullptr);
    EXPECT_NE(ImageBytes(reader.get(), bytes.size() - 1, 1), nullptr);
    EXPECT_EQ(ImageBytes(reader.get(), bytes.size() - 1, 2), nullptr);
    EXPECT_EQ(ImageBytes(reader.get(), bytes.size(), 1), nullptr);
}

TEST_F(ImageFile, MadeByImageMagick) {
    for (const char *name : {"a.jpg", "a.png", "a.gif", "GIF87:a87.gif", "a.bmp", "BMP3:a3.bmp",
                             "BMP2:a2.bmp", "a.tif", "TIFF64:a64.tif", "a.psd", "PSB:a.psb"})
        EXPECT_EQ(Get(Make(kGradient, name)), kGradientSize) << name;
}

TEST_F(ImageFile, MadeByImageMagickOtherwise) {
    EXPECT_EQ(Get(Make(kGradient + " -interlace JPEG"s, "progressive.jpg")), kGradientSize);
    EXPECT_EQ(Get(Make(kGradient + " -colorspace Gray"s, "grey.jpg")), kGradientSize);
    EXPECT_EQ(Get(Make(kGradient + " -define tiff:endian=msb"s, "msb.tif")), kGradientSize);
    EXPECT_EQ(Get(Make(kGradient + " -compress LZW"s, "lzw.tif")), kGradientSize);
    EXPECT_EQ(Get(Make("-size 48x32 xc:red", "small.ico")), (Size{48, 32}));
    EXPECT_EQ(Get(Make("-size 256x256 xc:red", "large.ico")), (Size{256, 256}));
    EXPECT_EQ(Get(Make("-size 20x30 xc:red -size 50x60 xc:blue", "pages.tif")), (Size{20, 30}));
    EXPECT_EQ(Get(Make("-size 20x30 xc:red -size 20x30 xc:blue", "moving.gif")), (Size{20, 30}));
}

TEST_F(ImageFile, ProgressiveJpegIsProgressive) {
    const std::string jpeg = Read(Make(kGradient + " -interlace JPEG"s, "progressive.jpg"));
    EXPECT_NE(jpeg.find("\xFF\xC2"), std::string::npos);
    EXPECT_EQ(SizeOf(jpeg), kGradientSize);
}

TEST_F(ImageFile, RealThumbnailInsideARealPicture) {
    const std::string thumbnail = Read(Make("-size 40x30 xc:red", "thumbnail.jpg"));
    const std::string picture = Read(Make(kGradient, "picture.jpg"));
    EXPECT_EQ(SizeOf(thumbnail), (Size{40, 30}));
    const std::string path =
        Write("exif.jpg", kStart + Segment(0xE1, "Exif\0\0"s + thumbnail) + picture.substr(2));
    EXPECT_EQ(Get(path), kGradientSize);
}

TEST_F(ImageFile, ContentCountsAndNotTheName) {
    EXPECT_EQ(Get(Write("picture.jpg", Png(7, 9))), (Size{7, 9}));
    EXPECT_EQ(Get(Write("song.mp3", Png(7, 9))), (Size{7, 9}));
    EXPECT_EQ(Get(Write("picture.png", "no picture")), kUntouched);
    EXPECT_EQ(Get(Write("empty.jpg", "")), kUntouched);
}

TEST_F(ImageFile, MissingArgumentsFail) {
    const std::string path = Write("a.png", Png(7, 9));
    int side = 0;
    EXPECT_EQ(VELUIndexImgResGet(nullptr, &side, &side), -1);
    EXPECT_EQ(VELUIndexImgResGet(path.c_str(), nullptr, &side), -1);
    EXPECT_EQ(VELUIndexImgResGet(path.c_str(), &side, nullptr), -1);
    EXPECT_EQ(Get(""), kUntouched);
    EXPECT_EQ(Get(Path("missing.png")), kUntouched);
}

TEST_F(ImageFile, LinksAreFollowed) {
    const std::string path = Write("a.png", Png(7, 9));
    ASSERT_EQ(symlink(path.c_str(), Path("link.png").c_str()), 0);
    EXPECT_EQ(Get(Path("link.png")), (Size{7, 9}));
    ASSERT_EQ(symlink(Path("round.png").c_str(), Path("round.png").c_str()), 0);
    EXPECT_EQ(Get(Path("round.png")), kUntouched);
}

TEST_F(ImageFile, OnlyRegularFilesAreOpened) {
    ASSERT_EQ(mkfifo(Path("pipe.jpg").c_str(), 0644), 0);
    ASSERT_EQ(symlink(Path("pipe.jpg").c_str(), Path("link.jpg").c_str()), 0);
    EXPECT_EQ(Get(Path("pipe.jpg")), kUntouched);
    EXPECT_EQ(Get(Path("link.jpg")), kUntouched);
    EXPECT_EQ(Get("/dev/zero"), kUntouched);
    EXPECT_EQ(Get(folder_), kUntouched);
}

TEST_F(ImageFile, SizeFarBehindFourGigabytes) {
    const std::string path = Path("sparse.tif");
    const Tiff big = {ByteOrder::kBig, true};
    const uint64_t directory = uint64_t{5} << 30;
    FILE *file = fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    const std::string head = big.Header(directory);
    const std::string tail = big.Directory({big.Entry(256, 3, 3), big.Entry(257, 3, 4)});
    ASSERT_EQ(fwrite(head.data(), 1, head.size(), file), head.size());
    ASSERT_EQ(fseeko(file, static_cast<off_t>(directory), SEEK_SET), 0);
    ASSERT_EQ(fwrite(tail.data(), 1, tail.size(), file), tail.size());
    ASSERT_EQ(fclose(file), 0);
    EXPECT_EQ(Get(path), (Size{3, 4}));
}
