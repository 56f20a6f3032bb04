// SPDX-License-Identifier: GPL-2.0-or-later
//
// The record that an MP4 file gives, and the cover file.
#include "container/mp4_reader.h"

#include <gtest/gtest.h>

#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "catalogue/media_info.h"
#include "container/mp4_cover.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/mp4_open.h"
#include "tests/unit/test_files.h"

namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

constexpr char kSong[] = "/volume1/music/Album/song.m4a";

class Mp4ReaderTest : public testing::Test {
protected:
    Mp4ReaderTest() {
        SandboxReset();
        LogTake();
    }
    ~Mp4ReaderTest() override { SandboxReset(); }
};

MediaInfo RecordOf(std::string_view content) {
    FileWrite(kSong, content);
    MediaInfo record = {};
    EXPECT_EQ(Mp4MetadataRead(kSong, &record), 0);
    return record;
}

MediaInfo RecordOfItems(std::string_view items) {
    return RecordOf(MovieFile(Track(), items));
}

std::string GenreOf(std::string_view items) {
    return RecordOfItems(items).genre;
}

int YearOf(std::string_view text) {
    return RecordOfItems(ItemBox("\251day", text)).year;
}

std::string CoverPlace(const char *name) {
    char folder[kMediaPathSize];
    EXPECT_EQ(GetCoverFolder(kSong, folder, sizeof folder), 1);
    return std::string(folder) + "/" + name;
}

bool HasCovers() {
    return fs::exists("/var/lib/velu/covers") && !fs::is_empty("/var/lib/velu/covers");
}

MediaInfo RecordOfCover(std::string_view picture, uint32_t type_code) {
    return RecordOfItems(ItemBox("covr", picture, type_code));
}

} // namespace

TEST_F(Mp4ReaderTest, AFileThatIsNoMp4IsLogged) {
    FileWrite(kSong, "this is a text");
    MediaInfo record = {};
    EXPECT_EQ(Mp4MetadataRead(kSong, &record), -1);
    EXPECT_EQ(LogTakeTexts(),
              Texts{std::string("mp4.c# Failed to parse mp4 metadata from [") + kSong + "]."});
}

TEST_F(Mp4ReaderTest, AFileWithoutTracksIsLogged) {
    FileWrite(kSong, MovieFile("", ItemBox("\251nam", "Title")));
    MediaInfo record = {};
    EXPECT_EQ(Mp4MetadataRead(kSong, &record), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"mp4.c# No tracks in mp4."});
    EXPECT_STREQ(record.title, "");
}

TEST_F(Mp4ReaderTest, ASoundTrackGivesItsFields) {
    const MediaInfo record = RecordOf(MovieFile(Track({.time_scale = 48000, .duration = 48000 * 7 + 47999})));
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.duration, 7.0F);
    EXPECT_EQ(record.sample_rate, 48000u);
    EXPECT_EQ(record.audio_bitrate, 128000u);
    EXPECT_EQ(record.video_bitrate, 0u);
    EXPECT_EQ(record.width, 0u);
    EXPECT_EQ(record.has_cover, 0);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(Mp4ReaderTest, TheSampleRateIsTheTimeScale) {
    EXPECT_EQ(RecordOf(MovieFile(Track({.time_scale = 600}))).sample_rate, 600u);
}

TEST_F(Mp4ReaderTest, AVideoTrackOverridesTheDuration) {
    const MediaInfo record = RecordOf(MovieFile(Track() + Track(VideoTrack())));
    EXPECT_EQ(record.duration, 10.0F);
    EXPECT_EQ(record.width, 640u);
    EXPECT_EQ(record.height, 360u);
    EXPECT_EQ(record.video_bitrate, 5000u * 250 * 8 / 10);
    EXPECT_EQ(record.channels, 2u);
    TrackParts endless = VideoTrack();
    endless.media_header_version = 1;
    endless.duration = UINT64_MAX;
    EXPECT_EQ(RecordOf(MovieFile(Track() + Track(endless))).duration, 0.0F);
}

TEST_F(Mp4ReaderTest, OfTwoSoundTracksTheFirstOfTwoVideoTracksTheLastCounts) {
    const MediaInfo record =
        RecordOf(MovieFile(Track(VideoTrack(1, 320, 240)) + Track({.id = 2, .time_scale = 8000}) +
                           Track({.id = 3, .time_scale = 16000}) + Track(VideoTrack(4, 1280, 720)) +
                           Track({.id = 5, .handler = "text"})));
    EXPECT_EQ(record.sample_rate, 8000u);
    EXPECT_EQ(record.width, 1280u);
    EXPECT_EQ(record.height, 720u);
}

TEST_F(Mp4ReaderTest, AnUnknownDurationIsZero) {
    EXPECT_EQ(RecordOf(MovieFile(Track({.duration = UINT64_MAX, .media_header_version = 1}))).duration, 0.0F);
    EXPECT_EQ(RecordOf(MovieFile(Track({.time_scale = 0}))).duration, 0.0F);
    EXPECT_EQ(RecordOf(MovieFile(Track({.time_scale = 1, .duration = 0xFFFFFFFF}))).duration, 4294967295.0F);
}

TEST_F(Mp4ReaderTest, UnknownChannelsAreZero) {
    EXPECT_EQ(RecordOf(MovieFile(Track({.entries = ""}))).channels, 0u);
}

TEST_F(Mp4ReaderTest, TagsFillTheirFields) {
    const MediaInfo record = RecordOfItems(
        ItemBox("\251nam", "Title") + ItemBox("\251ART", "Artist") + ItemBox("\251alb", "Album") +
        ItemBox("\251gen", "Genre") + ItemBox("\251cmt", "Comment") + ItemBox("\251wrt", "Writer") +
        ItemBox("\251day", "2008") + ItemBox("trkn", Zeros(2) + U16(3) + U16(12) + Zeros(2), 0) +
        ItemBox("disk", Zeros(2) + U16(1) + U16(2), 0));
    EXPECT_STREQ(record.title, "Title");
    EXPECT_STREQ(record.artist, "Artist");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_STREQ(record.genre, "Genre");
    EXPECT_STREQ(record.comment, "Comment");
    EXPECT_STREQ(record.composer, "Writer");
    EXPECT_EQ(record.year, 2008);
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.disc, 1);
}

TEST_F(Mp4ReaderTest, TextIsCutToItsField) {
    EXPECT_EQ(RecordOfItems(ItemBox("\251nam", std::string(254, 'x'))).title, std::string(254, 'x'));
    EXPECT_EQ(RecordOfItems(ItemBox("\251nam", std::string(255, 'x'))).title, std::string(254, 'x'));
}

TEST_F(Mp4ReaderTest, AYearIsANumberAlone) {
    EXPECT_EQ(YearOf("2008"), 2008);
    EXPECT_EQ(YearOf(" 2008"), 2008);
    EXPECT_EQ(YearOf("2008-05-01"), 0);
    EXPECT_EQ(YearOf("2008 "), 0);
    EXPECT_EQ(YearOf("1999-12-31T08:00:00Z"), 0);
    EXPECT_EQ(YearOf("MMVIII"), 0);
    EXPECT_EQ(YearOf("-5"), 0);
    EXPECT_EQ(YearOf("2147483647"), 2147483647);
    EXPECT_EQ(YearOf("2147483648"), 0);
    EXPECT_EQ(YearOf("99999999999999999999999"), 0);
}

TEST_F(Mp4ReaderTest, AGenreNumberNamesTheGenre) {
    EXPECT_EQ(GenreOf(ItemBox("gnre", U16(1), 0)), "Blues");
    EXPECT_EQ(GenreOf(ItemBox("gnre", U16(18), 0)), "Rock");
    EXPECT_EQ(GenreOf(ItemBox("gnre", U16(68), 0)), "Psychadelic");
    EXPECT_EQ(GenreOf(ItemBox("gnre", U16(148), 0)), "SynthPop");
    EXPECT_EQ(GenreOf(ItemBox("\251gen", "text") + ItemBox("gnre", U16(9), 0)), "Jazz");
    EXPECT_EQ(GenreOf(ItemBox("\251gen", "text")), "text");
}

TEST_F(Mp4ReaderTest, AGenreNumberThatNamesNothingLeavesNoGenre) {
    for (const uint16_t number : {0, 149, 65535})
        EXPECT_EQ(GenreOf(ItemBox("gnre", U16(number), 0) + ItemBox("\251gen", "text")), "") << number;
    EXPECT_EQ(GenreOf(ItemBox("gnre", U8(18), 0) + ItemBox("\251gen", "text")), "");
}

TEST_F(Mp4ReaderTest, ACoverIsWrittenWithTheMediaFilesOwner) {
    FileWrite(kSong, MovieFile(Track(), ItemBox("covr", JpegBytes(1000), 13)));
    ASSERT_EQ(chown(kSong, 1234, 5678), 0);
    MediaInfo record = {};
    ASSERT_EQ(Mp4MetadataRead(kSong, &record), 0);
    EXPECT_EQ(record.has_cover, 1);
    struct stat status;
    ASSERT_EQ(stat(CoverPlace("3_1.jpg").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234u);
    EXPECT_EQ(status.st_gid, 5678u);
    EXPECT_EQ(status.st_mode & 07777, 0777u);
    EXPECT_EQ(FileRead(CoverPlace("3_1.jpg")), JpegBytes(1000));
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(Mp4ReaderTest, TheTypeCodeNamesTheCoverFile) {
    EXPECT_EQ(RecordOfCover(PngBytes(100), 14).has_cover, 1);
    EXPECT_EQ(FileRead(CoverPlace("3_1.png")), PngBytes(100));
    EXPECT_EQ(RecordOfCover(PngBytes(100), 0).has_cover, 1);
    EXPECT_EQ(FileRead(CoverPlace("3_1.png")), PngBytes(100));
    EXPECT_EQ(RecordOfCover(PngBytes(100), 13).has_cover, 1);
    EXPECT_EQ(FileRead(CoverPlace("3_1.jpg")), PngBytes(100));
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(Mp4ReaderTest, OldCoversGoFirst) {
    RecordOfCover(PngBytes(100), 14);
    RecordOfCover(JpegBytes(100), 13);
    EXPECT_FALSE(fs::exists(CoverPlace("3_1.png")));
    EXPECT_TRUE(fs::exists(CoverPlace("3_1.jpg")));
    FileWrite(kSong, "no film any more");
    MediaInfo record = {};
    EXPECT_EQ(Mp4MetadataRead(kSong, &record), -1);
    EXPECT_FALSE(HasCovers());
}

TEST_F(Mp4ReaderTest, TinyPicturesAreSkippedSilently) {
    EXPECT_EQ(RecordOfCover(JpegBytes(9), 13).has_cover, 0);
    EXPECT_EQ(RecordOfCover(PngBytes(7), 14).has_cover, 0);
    EXPECT_EQ(RecordOfCover("", 13).has_cover, 0);
    EXPECT_FALSE(HasCovers());
    EXPECT_EQ(RecordOfCover(JpegBytes(10), 13).has_cover, 1);
    EXPECT_EQ(RecordOfCover(PngBytes(8), 14).has_cover, 1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(Mp4ReaderTest, AnotherKindOfPictureIsLogged) {
    const MediaInfo record =
        RecordOfItems(ItemBox("covr", "GIF89a and more", 12) + ItemBox("\251day", "1999"));
    EXPECT_EQ(record.has_cover, 0);
    EXPECT_EQ(record.year, 1999) << "the tags behind it are read";
    EXPECT_EQ(LogTakeTexts(), Texts{std::string("mp4.c# Wrong file type 12 of cover art of ") + kSong + "."});
    EXPECT_FALSE(HasCovers());
}

TEST_F(Mp4ReaderTest, ACoverWantsItsArguments) {
    const OpenMovie movie(MovieFile(Track(), ItemBox("covr", JpegBytes(100), 13)));
    EXPECT_EQ(Mp4CoverArtWrite(nullptr, kSong), 0);
    EXPECT_EQ(Mp4CoverArtWrite(movie.handle, nullptr), 0);
    EXPECT_EQ(Mp4CoverArtWrite(movie.handle, ""), 0);
    EXPECT_EQ(LogTakeTexts(), Texts(3, "mp4.c# Bad parameters."));
    const OpenMovie bare(MovieFile(Track()));
    EXPECT_EQ(Mp4CoverArtWrite(bare.handle, kSong), 0);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(Mp4ReaderTest, ACoverWithoutAPlaceIsLogged) {
    FileWrite("/var/lib/velu/covers", "a file where the folder should be");
    EXPECT_EQ(RecordOfCover(JpegBytes(100), 13).has_cover, 0);
    EXPECT_EQ(LogTakeTexts(), Texts{std::string("mp4.c# FAILED to get CoverPath of ") + kSong});
}

TEST_F(Mp4ReaderTest, AnOldCoverThatCannotBeRemovedIsLogged) {
    const std::string place = CoverPlace("3_1.jpg");
    fs::create_directories(place + "/in the way");
    EXPECT_EQ(RecordOfCover(JpegBytes(100), 13).has_cover, 0);
    EXPECT_EQ(LogTakeTexts(), Texts{"mp4.c# FAILED to unlink :" + place + ", reason=Is a directory"});
}

TEST_F(Mp4ReaderTest, ACoverWithoutItsMediaFileIsRemovedAgain) {
    const OpenMovie movie(MovieFile(Track(), ItemBox("covr", JpegBytes(100), 13)));
    EXPECT_EQ(Mp4CoverArtWrite(movie.handle, kSong), 0);
    EXPECT_EQ(LogTakeTexts(),
              Texts{std::string("mp4.c# FAILED TO stat ") + kSong + ", reason: No such file or directory"});
    EXPECT_FALSE(HasCovers());
}

TEST_F(Mp4ReaderTest, ACutFileKeepsWhatIsReadable) {
    const std::string file = MovieFile(Track() + Track(VideoTrack()),
                                       ItemBox("\251nam", "Title") + ItemBox("covr", JpegBytes(500), 13));
    const MediaInfo record = RecordOf(file.substr(0, file.size() - 550));
    EXPECT_EQ(record.audio_bitrate, 128000u);
    EXPECT_EQ(record.width, 640u);
    EXPECT_EQ(record.has_cover, 0);
}
