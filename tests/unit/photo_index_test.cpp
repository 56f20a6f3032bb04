// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_index.h"

#include <filesystem>
#include <regex>

#include "photo/photo_ea.h"
#include "photo_catalogue.h"
#include "platform/limits.h"

namespace fs = std::filesystem;

namespace {

using PhotoEaTest = PhotoLibraryFixture;
using PhotoIndexTest = PhotoLibraryFixture;

const std::string kPicture = "/volume1/photo/Trips/a.b.jpg";
const std::string kTitleFile = "/volume1/photo/Trips/@eaDir/a.b.jpg/VELUPHOTO:TITLE";
const std::string kDescFile = "/volume1/photo/Trips/@eaDir/a.b.jpg/VELUPHOTO:DESC";

std::string EaRead(int size = 255) {
    char value[255] = "before";
    return PhotoEaRead(kPicture.c_str(), "VELUPHOTO:TITLE", value, size) == 0 ? value : "(none)";
}

size_t OpenFiles() {
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

} // namespace

TEST_F(PhotoEaTest, BadParametersAreLogged) {
    char value[8];
    EXPECT_EQ(PhotoEaRead(nullptr, "A", value, 8), -1);
    EXPECT_EQ(PhotoEaRead("/a/b", nullptr, value, 8), -1);
    EXPECT_EQ(PhotoEaRead("/a/b", "A", nullptr, 8), -1);
    EXPECT_EQ(PhotoEaRead("/a/b", "A", value, 0), -1);
    PhotoRecord record = {};
    EXPECT_EQ(PhotoTitleGet(nullptr, &record), 0);
    EXPECT_EQ(PhotoDescGet("/a/b", nullptr), 0);
    EXPECT_EQ(LogTakeTexts(), Texts(6, "photo_index.c# Bad parameters."));
    EXPECT_EQ(PhotoEaRead("name", "A", value, 8), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# VELUEAPath() failed."});
}

TEST_F(PhotoEaTest, WithoutAFileThereIsNoValueAndNoLine) {
    EXPECT_EQ(EaRead(), "(none)");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoEaTest, TheFirstLineIsTheValueWithItsEndAndTheFileIsGone) {
    FileWrite(kTitleFile, " Holiday \nsecond\n");
    EXPECT_EQ(EaRead(), " Holiday \n");
    EXPECT_FALSE(fs::exists(kTitleFile));
}

TEST_F(PhotoEaTest, AnEmptyValueIsNoneAndTheFileIsGone) {
    for (const char *content : {"", "\n", "\nsecond"}) {
        FileWrite(kTitleFile, content);
        EXPECT_EQ(EaRead(), "(none)");
        EXPECT_FALSE(fs::exists(kTitleFile));
    }
}

TEST_F(PhotoEaTest, AValueIsCutToTheBuffer) {
    FileWrite(kTitleFile, "Holiday\n");
    EXPECT_EQ(EaRead(5), "Holi");
}

TEST_F(PhotoEaTest, AFileThatCannotBeReadStays) {
    fs::create_directories(kTitleFile);
    EXPECT_EQ(EaRead(), "(none)");
    EXPECT_TRUE(fs::exists(kTitleFile));
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# fgets() failed."});
}

TEST_F(PhotoEaTest, AFileThatCannotBeOpenedIsLogged) {
    fs::create_directories(fs::path(kTitleFile).parent_path());
    ASSERT_EQ(mknod(kTitleFile.c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_EQ(EaRead(), "(none)");
    EXPECT_TRUE(fs::exists(kTitleFile));
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# failed to open file " + kTitleFile + "."});
}

TEST_F(PhotoEaTest, APipeIsNotWaitedFor) {
    fs::create_directories(fs::path(kTitleFile).parent_path());
    ASSERT_EQ(mkfifo(kTitleFile.c_str(), 0600), 0);
    EXPECT_EQ(EaRead(), "(none)");
}

TEST_F(PhotoEaTest, TheStreamStaysOpenButOnlyTheLastOne) {
    FileWrite(kTitleFile, "Holiday\n");
    EaRead();
    const size_t open_files = OpenFiles();
    bool found = false;
    for (const auto &entry : fs::directory_iterator("/proc/self/fd"))
        found |= fs::is_symlink(entry) && fs::read_symlink(entry) == kTitleFile + " (deleted)";
    EXPECT_TRUE(found);
    for (int i = 0; i < 50; ++i) {
        FileWrite(kTitleFile, "Holiday\n");
        EaRead();
    }
    EXPECT_EQ(OpenFiles(), open_files);
}

TEST_F(PhotoEaTest, TitleAndDescriptionKeepTheirLineEnd) {
    FileWrite(kTitleFile, "Holiday\n");
    FileWrite(kDescFile, std::string(300, 'd') + "\n");
    PhotoRecord record = {};
    EXPECT_EQ(PhotoTitleGet(kPicture.c_str(), &record), 1);
    EXPECT_EQ(PhotoDescGet(kPicture.c_str(), &record), 1);
    EXPECT_STREQ(record.title, "Holiday\n");
    EXPECT_EQ(record.description, std::string(254, 'd'));
    EXPECT_EQ(PhotoTitleGet(kPicture.c_str(), &record), 0);
    EXPECT_STREQ(record.title, "Holiday\n");
}

TEST_F(PhotoIndexTest, BadParametersAreLogged) {
    EXPECT_EQ(PhotoIndexAdd(nullptr, 1), -1);
    EXPECT_EQ(PhotoLibraryFileUpdate(nullptr, 1), -1);
    for (int mode : {0, 3, 4, 6})
        EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.jpg", mode), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(6, "photo_index.c# Bad parameter."));
}

TEST_F(PhotoIndexTest, ARowHasWhatThePathTheFileAndTheExifDataSay) {
    using namespace exif_bytes;
    FileWrite(kPicture, Jpeg(Block({Text(0x10F, "Maker"), Text(0x110, "Caf\xE9")}, {},
                                   {Text(0x9003, "2009:03:07 08:09:10"), Short(0x8827, 400),
                                    Rational(0x829A, 1, 60), Rational(0x829D, 28, 10)}),
                             32, 24));
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(PhotoField("path"), kPicture);
    EXPECT_EQ(PhotoField("name || ',' || title || ',' || album || ',' || description"), "a.b.jpg,a.b,Trips,");
    EXPECT_EQ(PhotoField("make || ',' || model || ',' || exposure || ',' || fnumber || ',' || date_taken"),
              "Maker,,1/60 sec.,f/2.8,2009:03:07 08:09:10");
    EXPECT_EQ(PhotoField("width || 'x' || height || ',' || iso || ',' || updated"), "32x24,400,1");
    EXPECT_EQ(PhotoField("file_size"), std::to_string(fs::file_size(kPicture)));
    EXPECT_TRUE(std::regex_match(PhotoField("create_time"),
                                 std::regex("[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} [0-9]{4}\n?")));
}

TEST_F(PhotoIndexTest, ADateThatIsMissingIsThatOfTheFile) {
    FileWrite(kPicture, exif_bytes::PlainJpeg(32, 24));
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_TRUE(std::regex_match(PhotoField("date_taken"),
                                 std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}")));
}

TEST_F(PhotoIndexTest, TitleAndDescriptionOfTheUserAreTaken) {
    FileWrite(kPicture, exif_bytes::PlainJpeg(32, 24));
    FileWrite(kTitleFile, "Holiday");
    FileWrite(kDescFile, "At sea");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 5), 0);
    EXPECT_EQ(PhotoField("title || ',' || description"), "Holiday,At sea");
    EXPECT_FALSE(fs::exists(kTitleFile) || fs::exists(kDescFile));
}

TEST_F(PhotoIndexTest, ASizeAbove8000IsZeroEvenThePicturesOwn) {
    FileWrite(kPicture, exif_bytes::PlainJpeg(8001, 24));
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(PhotoField("width || 'x' || height"), "0x24");
}

TEST_F(PhotoIndexTest, AnExifWidthAbove8000IsZeroUnlessThePictureHasItsOwn) {
    using namespace exif_bytes;
    const std::string wide = Block({}, {}, {Long(0xA002, 9000), Long(0xA003, 10)});
    FileWrite(kPicture, JpegWithoutFrame(wide));
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(PhotoField("width || 'x' || height"), "0x10");
    FileWrite(kPicture, Jpeg(wide, 8000, 24));
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 5), 0);
    EXPECT_EQ(PhotoField("width || 'x' || height"), "8000x24");
}

TEST_F(PhotoIndexTest, AnEmptyTitleOfTheUserIsNoneAndItsFileIsGone) {
    FileWrite(kPicture, "x");
    FileWrite(kTitleFile, "\n");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(PhotoField("title"), "a.b");
    EXPECT_FALSE(fs::exists(kTitleFile));
}

TEST_F(PhotoIndexTest, ADirectoryNameThatFillsTheAlbumIsLogged) {
    const std::string path = "/volume1/photo/" + std::string(255, 'd') + "/a.jpg";
    FileWrite(path, "x");
    EXPECT_EQ(PhotoIndexAdd(path.c_str(), 1), 0);
    EXPECT_EQ(PhotoField("album"), std::string(254, 'd'));
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# Impossible error."});
}

TEST_F(PhotoIndexTest, FilesFrom1ByteToBelow20MiBAreSaved) {
    FileWrite("/volume1/photo/a.jpg", "x");
    FileWrite("/volume1/photo/b.jpg", "x");
    FileWrite("/volume1/photo/c.jpg", "x");
    FileWrite("/volume1/photo/d.jpg", "x");
    fs::resize_file("/volume1/photo/a.jpg", 0);
    fs::resize_file("/volume1/photo/c.jpg", kPhotoSizeEnd - 1);
    fs::resize_file("/volume1/photo/d.jpg", kPhotoSizeEnd);
    EXPECT_EQ(PhotoIndexAdd("/volume1/photo/a.jpg", 1), -1);
    EXPECT_EQ(PhotoIndexAdd("/volume1/photo/b.jpg", 1), 0);
    EXPECT_EQ(PhotoIndexAdd("/volume1/photo/c.jpg", 1), 0);
    EXPECT_EQ(PhotoIndexAdd("/volume1/photo/d.jpg", 1), -1);
    EXPECT_EQ(PhotoIndexAdd("/volume1/photo/none.jpg", 1), -1);
    EXPECT_EQ(PhotoField("name"), "b.jpg|c.jpg");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoIndexTest, HiddenFilesAndAttributeDirectoriesAreLeftOut) {
    for (const char *path :
         {"/volume1/photo/.thumb.jpg", "/volume1/photo/@eaDir/a.jpg", "/volume1/photo/x@eaDir.jpg"}) {
        FileWrite(path, "x");
        EXPECT_EQ(PhotoIndexAdd(path, 1), -1);
    }
    EXPECT_EQ(PhotoIndexDelete("/volume1/photo/@eaDir/gone.jpg"), -1);
    EXPECT_EQ(PhotoField("name"), "");
}

TEST_F(PhotoIndexTest, ASaveThatFailsIsLogged) {
    FileWrite("/volume1/photo/a.jpg", "x");
    EXPECT_EQ(PhotoIndexAdd("/volume1/photo/a.jpg", 9), -1); // the store knows no such mode
    EXPECT_EQ(LogTakeTexts().back(), "photo_index.c# Failed to save photo info.");
}

TEST_F(PhotoIndexTest, OnlyTheRowOfAFileThatIsGoneIsRemoved) {
    FileWrite("/volume1/photo/a.jpg", "x");
    PhotoIndexAdd("/volume1/photo/a.jpg", 1);
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.jpg", 2), 0);
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# File exists. Skip remove it from database."});
    EXPECT_EQ(PhotoField("name"), "a.jpg");
    unlink("/volume1/photo/a.jpg");
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.jpg", 2), 0);
    EXPECT_EQ(PhotoField("name"), "");
}

TEST_F(PhotoIndexTest, ARemovalThatTheCatalogueRefusesIsLoggedAndCountsAsTried) {
    FileWrite("/etc/veluinfo.conf", "photodb=\"nothing:\"\n");
    EXPECT_EQ(PhotoIndexDelete("/volume1/photo/a.jpg"), 0);
    EXPECT_EQ(LogTakeTexts().back(), "photo_index.c# Failed to remove /volume1/photo/a.jpg from database.");
}

TEST_F(PhotoIndexTest, WhatIsNoPictureOrVideoIsNotHandled) {
    FileWrite("/volume1/photo/a.txt", "x");
    fs::create_directories("/volume1/photo/d.jpg");
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.txt", 1), -1);
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a", 1), -1);
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/d.jpg", 1), -1);
    EXPECT_FALSE(fs::exists("/tmp/converted"));
}

TEST_F(PhotoIndexTest, AnOrdinaryVideoRunsTheConverterWhateverTheMode) {
    FileWrite("/volume1/photo/a.mkv", "x");
    for (int mode : {1, 2, 5})
        EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.mkv", mode), 0);
    EXPECT_EQ(FileRead("/tmp/converted"),
              "-f /volume1/photo/a.mkv\n-f /volume1/photo/a.mkv\n-f /volume1/photo/a.mkv\n");
    EXPECT_EQ(PhotoQuery("select path as x from video_desc"), "/volume1/photo/a.mkv");
    EXPECT_FALSE(fs::exists("/var/spool/thumb_create.queue"));
    EXPECT_FALSE(fs::exists("/var/spool/flv_create.queue"));
}

TEST_F(PhotoIndexTest, AnAddOffersToTheQueuesAndAnUpdateDoesNot) {
    FileWrite("/var/run/velumkthumbd.pid", std::to_string(getpid()));
    FileWrite("/volume1/photo/a.jpg", "x");
    FileWrite("/volume1/photo/a.mp4", "x");
    signal(SIGUSR1, SIG_IGN);
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.jpg", 5), 0);
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.mp4", 5), 0);
    EXPECT_EQ(FileRead("/var/spool/thumb_create.queue"), "");
    EXPECT_EQ(PhotoQuery("select path as x from video_desc"), "/volume1/photo/a.mp4");
    EXPECT_EQ(PhotoLibraryFileUpdate("/volume1/photo/a.jpg", 1), 0);
    signal(SIGUSR1, SIG_DFL);
    EXPECT_EQ(FileRead("/var/spool/thumb_create.queue"), "/volume1/photo\n");
    EXPECT_FALSE(fs::exists("/tmp/converted"));
}
