// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/exif.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "catalogue/indexers.h"
#include "exif_bytes.h"
#include "platform/limits.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/scratch_file.h"
#include "tests/unit/test_files.h"

namespace {

using namespace exif_bytes;
using Texts = std::vector<std::string>;

constexpr int kMake = 0x010F;
constexpr int kModel = 0x0110;
constexpr int kExposureTime = 0x829A;
constexpr int kFNumber = 0x829D;
constexpr int kIso = 0x8827;
constexpr int kDateTaken = 0x9003;
constexpr int kWidth = 0xA002;
constexpr int kHeight = 0xA003;

PhotoRecord Read(const std::string &content) {
    const ScratchFile file(content);
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", file.c_str());
    EXPECT_EQ(ExifInfoGet(&record), 0);
    return record;
}

PhotoRecord ReadExif(const std::vector<Entry> &exif) {
    return Read(JpegWithoutFrame(Block({}, {}, exif)));
}

const std::vector<Entry> kAllExif = {
    Rational(kExposureTime, 1, 60),          Rational(kFNumber, 28, 10), Short(kIso, 400),
    Text(kDateTaken, "2009:03:07 08:09:10"), Long(kWidth, 640),          Long(kHeight, 480)};

const std::string kAll = Block({Text(kMake, "Maker"), Text(kModel, "Model 1")}, {}, kAllExif);

// The most memory, in KiB, that a process which reads the picture has ever had.
long PeakOf(const std::string &content) {
    const pid_t child = fork();
    if (child == 0) {
        Read(content);
        _exit(0);
    }
    rusage usage = {};
    EXPECT_EQ(wait4(child, nullptr, 0, &usage), child);
    return usage.ru_maxrss;
}

// What the media catalogue has of a picture that was indexed.
std::map<std::string, std::string> Indexed(const std::string &path, const std::string &content) {
    SandboxReset();
    FileWrite(path, content);
    EXPECT_EQ(IndexRecipeAdd(IndexRecipeOf(Indexer::photo), path.c_str()), 0);
    return MediaRow("photo", path);
}

} // namespace

TEST(ExifTest, NoRecordFails) {
    LogTake();
    EXPECT_EQ(ExifInfoGet(nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"exif.c# Bad parameter."});
}

TEST(ExifTest, AllFieldsAreRead) {
    const PhotoRecord record = Read(JpegWithoutFrame(kAll));
    EXPECT_STREQ(record.make, "Maker");
    EXPECT_STREQ(record.model, "Model 1");
    EXPECT_STREQ(record.exposure, "1/60 sec.");
    EXPECT_STREQ(record.fnumber, "f/2.8");
    EXPECT_STREQ(record.date_taken, "2009:03:07 08:09:10");
    EXPECT_EQ(record.iso, 400);
    EXPECT_EQ(record.width, 640);
    EXPECT_EQ(record.height, 480);
}

TEST(ExifTest, WithoutExifNothingChanges) {
    const ScratchFile file(PlainJpeg(4, 3));
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", file.c_str());
    snprintf(record.make, sizeof record.make, "before");
    record.width = 7;
    EXPECT_EQ(ExifInfoGet(&record), 0);
    EXPECT_STREQ(record.make, "before");
    EXPECT_EQ(record.width, 7);
}

TEST(ExifTest, AMissingOrEmptyFileIsNoFailure) {
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "/tmp/no-such-file.jpg");
    EXPECT_EQ(ExifInfoGet(&record), 0);
    EXPECT_STREQ(Read("").make, "");
}

// libexif drops the second directory of a picture without a thumbnail.
TEST(ExifTest, ALaterDirectoryOverwritesAnEarlierOne) {
    constexpr int kThumbnailAt = 0x0201;
    constexpr int kThumbnailSize = 0x0202;
    const std::vector<Entry> second = {Text(kMake, "Second"), Long(kThumbnailAt, 8), Long(kThumbnailSize, 4)};
    EXPECT_STREQ(Read(JpegWithoutFrame(Block({Text(kMake, "First")}, second, {}))).make, "Second");
}

TEST(ExifTest, LongTextsAreCutToTheirFields) {
    EXPECT_STREQ(Read(JpegWithoutFrame(Block({Text(kMake, std::string(99, 'm'))}, {}, {}))).make,
                 std::string(99, 'm').c_str());
    EXPECT_STREQ(Read(JpegWithoutFrame(Block({Text(kMake, std::string(300, 'm'))}, {}, {}))).make,
                 std::string(99, 'm').c_str());
    const PhotoRecord record = ReadExif({Rational(kExposureTime, 4000000000U, 1000000)});
    EXPECT_LT(strlen(record.exposure), sizeof record.exposure);
}

TEST(ExifTest, ADateOfAnotherFormIsLeftOut) {
    EXPECT_STREQ(ReadExif({Text(kDateTaken, "2009-03-07 08:09:10")}).date_taken, "");
    EXPECT_STREQ(ReadExif({Text(kDateTaken, "2009:13:07 08:09:10")}).date_taken, "");
    EXPECT_STREQ(ReadExif({Text(kDateTaken, "    :  :     :  :  ")}).date_taken, "");
}

TEST(ExifTest, ANumberThatDoesNotFitIsTheLargest) {
    EXPECT_EQ(ReadExif({Long(kWidth, 0xFFFFFFFF)}).width, INT32_MAX);
}

TEST(ExifTest, ANumberThatIsTextWithoutDigitsIsZero) {
    EXPECT_EQ(ReadExif({Text(kIso, "high")}).iso, 0);
}

TEST(ExifTest, EntriesThatPointBehindTheBlockAreLeftOut) {
    std::string block = kAll;
    for (size_t length = 0; length < block.size(); ++length)
        Read(JpegWithoutFrame(block.substr(0, length)));
    Entry lying = Text(kMake, "Maker");
    lying.count = 0xFFFFFFFF;
    EXPECT_STREQ(Read(JpegWithoutFrame(Block({lying}, {}, {}))).make, "");
}

// Every tag claims most of the block, in the first directory and again in the EXIF directory, which is the
// same one.
TEST(ExifTest, EntriesThatAllClaimTheSameBytesAreBounded) {
    std::vector<Entry> entries;
    for (const auto &[first, behind] :
         {std::pair(0x00FE, 0x0220), {0x8298, 0x8900}, {0x9000, 0x9300}, {0xA000, 0xA500}})
        for (int tag = first; tag < behind; ++tag)
            entries.push_back({tag, 7, 60000, Little(16, 4)});
    entries.push_back(Long(0x8769, 8));
    entries.push_back(Long(0x8825, 8));
    std::string block = Block(entries, {}, {});
    ASSERT_LT(block.size(), 65000U);
    block.resize(65400, 'x');
    const long ordinary = PeakOf(JpegWithoutFrame(kAll));
    EXPECT_LT(PeakOf(JpegWithoutFrame(block)), ordinary + static_cast<long>(2 * kExifMemoryMax / 1024));
    EXPECT_STREQ(Read(JpegWithoutFrame(kAll)).make, "Maker"); // the bound is one picture's
}

TEST(ExifTest, APictureOfARealEncoderIsRead) {
    const std::string path = "/tmp/exif_test.jpg";
    ASSERT_EQ(system(("convert -size 32x24 xc:red " + path +
                      " && exiftool -q -overwrite_original -Make=Maker "
                      "-Model='Model 2' -ExposureTime=1/125 -FNumber=8 "
                      "-ISO=200 -DateTimeOriginal='2011:12:13 14:15:16' " +
                      path)
                         .c_str()),
              0);
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", path.c_str());
    EXPECT_EQ(ExifInfoGet(&record), 0);
    unlink(path.c_str());
    EXPECT_STREQ(record.make, "Maker");
    EXPECT_STREQ(record.model, "Model 2");
    EXPECT_STREQ(record.exposure, "1/125 sec.");
    EXPECT_STREQ(record.fnumber, "f/8.0");
    EXPECT_EQ(record.iso, 200);
    EXPECT_STREQ(record.date_taken, "2011:12:13 14:15:16");
}

// --- The indexer of pictures as media files

TEST(PhotoMediaTest, DatesAreWrittenAnewWithoutZeros) {
    auto row = Indexed("/volume1/photo/A/b.jpg", Jpeg(kAll, 32, 24));
    EXPECT_EQ(row["date_taken"], "2009-3-7 8:9:10");
    EXPECT_EQ(row["camera_make"], "Maker");
    EXPECT_EQ(row["camera_model"], "Model 1");
    EXPECT_EQ(row["exposure_time"], "1/60 sec.");
    EXPECT_EQ(row["f_number"], "f/2.8");
    EXPECT_EQ(row["iso_speed"], "400");
    EXPECT_EQ(row["title"], "b");
    EXPECT_EQ(row["album"], "A");
}

TEST(PhotoMediaTest, ThePictureItselfOverridesTheSizeOfTheExifData) {
    auto row = Indexed("/volume1/photo/b.jpg", Jpeg(kAll, 32, 24));
    EXPECT_EQ(row["width"], "32");
    EXPECT_EQ(row["height"], "24");
    row = Indexed("/volume1/photo/b.jpg", JpegWithoutFrame(kAll));
    EXPECT_EQ(row["width"], "640");
    EXPECT_EQ(row["height"], "480");
}

TEST(PhotoMediaTest, AnExifSizeAbove8000IsZeroButNotThePicturesOwn) {
    const std::string wide = Block({}, {}, {Long(kWidth, 9000), Long(kHeight, 10)});
    auto row = Indexed("/volume1/photo/b.jpg", JpegWithoutFrame(wide));
    EXPECT_EQ(row["width"], "0");
    EXPECT_EQ(row["height"], "10");
    row = Indexed("/volume1/photo/b.jpg", Jpeg(wide, 9001, 11));
    EXPECT_EQ(row["width"], "9001");
}

TEST(PhotoMediaTest, AJpegWithoutExifHasItsSizeAndNoDate) {
    auto row = Indexed("/volume1/photo/b.JPEG", PlainJpeg(32, 24));
    EXPECT_EQ(row["width"], "32");
    EXPECT_EQ(row["height"], "24");
    EXPECT_EQ(row["date_taken"], "");
    EXPECT_NE(row["create_time"], "");
}

TEST(PhotoMediaTest, OnlyJpegsHaveExifFields) {
    auto row = Indexed("/volume1/photo/b.png", Jpeg(kAll, 32, 24));
    EXPECT_EQ(row["camera_make"], "");
    EXPECT_EQ(row["date_taken"], "");
    EXPECT_EQ(row["width"], "32");
}

TEST(PhotoMediaTest, APathWithoutADotIsSavedAsItIs) {
    auto row = Indexed("/volume1/photo/b", Jpeg(kAll, 32, 24));
    EXPECT_EQ(row["width"], "0");
    EXPECT_EQ(row["create_time"], "");
    EXPECT_NE(row["file_size"], "0");
}

TEST(PhotoMediaTest, AttributeDirectoriesHaveNoRows) {
    for (const char *path : {"/volume1/photo/@eaDir/b.jpg", "/volume1/photo/x@eaDir.jpg"}) {
        SandboxReset();
        FileWrite(path, PlainJpeg(32, 24));
        EXPECT_EQ(IndexRecipeAdd(IndexRecipeOf(Indexer::photo), path), 0);
        EXPECT_TRUE(MediaPaths("photo").empty());
    }
}

TEST(PhotoMediaTest, AForeignByteInTheModelEmptiesIt) {
    auto row = Indexed("/volume1/photo/b.jpg", Jpeg(Block({Text(kModel, "Caf\xE9")}, {}, {}), 32, 24));
    EXPECT_EQ(row["camera_model"], "");
}
