// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/image/image_formats.h"

#include "platform/handle.h"
#include "platform/veluindex.h"
#include "tests/unit/picture_bytes.h"

#include <gtest/gtest.h>

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>

using namespace picture_bytes;

namespace {

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

TEST_F(ImageFile, PipesAreNotEvenOpened) {
    const std::string pipe = Path("pipe.jpg");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    const FdHandle watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(inotify_add_watch(watch.get(), pipe.c_str(), IN_OPEN), 0);
    EXPECT_EQ(Get(pipe), kUntouched);
    inotify_event event;
    EXPECT_EQ(read(watch.get(), &event, sizeof event), -1) << "somebody has opened the pipe";
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(ImageFile, OnlyRegularFilesHaveASize) {
    ASSERT_EQ(mkfifo(Path("pipe.jpg").c_str(), 0644), 0);
    ASSERT_EQ(symlink(Path("pipe.jpg").c_str(), Path("link.jpg").c_str()), 0);
    EXPECT_EQ(Get(Path("pipe.jpg")), kUntouched);
    EXPECT_EQ(Get(Path("link.jpg")), kUntouched);
    EXPECT_EQ(Get("/dev/zero"), kUntouched);
    EXPECT_EQ(Get(folder_), kUntouched);
}
