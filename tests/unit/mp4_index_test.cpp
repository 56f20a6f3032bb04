// SPDX-License-Identifier: GPL-2.0-or-later
//
// MP4 files on their way into the catalogue.
#include "catalogue/indexers.h"

#include <gtest/gtest.h>

#include <string.h>

#include <filesystem>

#include "catalogue/media_info.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/test_files.h"

namespace {

using Texts = std::vector<std::string>;

constexpr char kSong[] = "/volume1/music/Album/song.live.m4a";

class Mp4IndexTest : public testing::Test {
protected:
    Mp4IndexTest() {
        SandboxReset();
        LogTake();
    }
    ~Mp4IndexTest() override { SandboxReset(); }
};

MediaInfo Filled(const std::string &path, int expected = 0) {
    MediaInfo record;
    memset(&record, 0x55, sizeof record); // a record that was not zeroed
    EXPECT_EQ(Mp4MediaInfoGet(path.c_str(), &record), expected);
    return record;
}

} // namespace

TEST_F(Mp4IndexTest, MissingArgumentsAreBadParameters) {
    MediaInfo record = {};
    EXPECT_EQ(Mp4MediaInfoGet(nullptr, &record), -1);
    EXPECT_EQ(Mp4MediaInfoGet("", &record), -1);
    EXPECT_EQ(Mp4MediaInfoGet(kSong, nullptr), -1);
    EXPECT_EQ(Mp4FileIndex(nullptr), -1);
    EXPECT_EQ(Mp4FileIndex(""), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(5, "mp4.c# Bad parameter."));
}

TEST_F(Mp4IndexTest, APathThatIsNoFileFailsSilently) {
    MediaInfo record = {};
    EXPECT_EQ(Mp4MediaInfoGet(kSong, &record), -1);
    EXPECT_EQ(Mp4MediaInfoGet("/volume1/music", &record), -1);
    EXPECT_EQ(Mp4FileIndex("/dev/null"), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(Mp4IndexTest, ARecordHoldsPathSizeTimesAndTags) {
    const std::string file =
        MovieFile(Track(), ItemBox("\251nam", "  Caf\xE9 ") + ItemBox("\251alb", "Best of"));
    FileWrite(kSong, file);
    const MediaInfo record = Filled(kSong);
    EXPECT_STREQ(record.path, kSong);
    EXPECT_EQ(record.file_size, file.size());
    EXPECT_STREQ(record.title, "Caf\xC3\xA9") << "made valid text";
    EXPECT_STREQ(record.album, "Best of");
    EXPECT_EQ(strlen(record.create_time), strlen("2008-05-01 12:00:00"));
    EXPECT_EQ(strlen(record.modify_time), strlen("2008-05-01 12:00:00"));
    EXPECT_STREQ(record.artist, "");
    EXPECT_EQ(record.iso_speed, 0u);
}

TEST_F(Mp4IndexTest, TitleAndAlbumHaveDefaults) {
    FileWrite(kSong, MovieFile(Track(), ItemBox("\251nam", " ") + ItemBox("\251alb", "\t")));
    EXPECT_STREQ(Filled(kSong).title, "song.live");
    EXPECT_STREQ(Filled(kSong).album, "Album");
    FileWrite("/volume1/music/noextension", MovieFile(Track()));
    EXPECT_STREQ(Filled("/volume1/music/noextension").title, "noextension");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(Mp4IndexTest, AnAlbumThatCannotBeCutOutIsLogged) {
    const std::string path = "/volume1/music/" + std::string(255, 'd') + "/a.m4a";
    FileWrite(path, MovieFile(Track()));
    EXPECT_EQ(Filled(path).album, std::string(254, 'd'));
    EXPECT_EQ(LogTakeTexts(), Texts{"mp4.c# Impossible error."});
}

TEST_F(Mp4IndexTest, AFileThatCannotBeReadKeepsItsDefaults) {
    FileWrite(kSong, "no film");
    const MediaInfo record = Filled(kSong, 1);
    EXPECT_STREQ(record.title, "song.live");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_EQ(record.file_size, 7u);
    EXPECT_EQ(LogTakeTexts(), (Texts{std::string("mp4.c# Failed to parse mp4 metadata from [") + kSong + "].",
                                     "mp4.c# Failed to parse mp4 metadata."}));
}

TEST_F(Mp4IndexTest, AFilmIsSavedAsMusicWithItsPicture) {
    const std::string path = "/volume1/video/film.mp4";
    FileWrite(path, MovieFile(Track() + Track(VideoTrack()), ItemBox("covr", JpegBytes(100), 13)));
    EXPECT_EQ(Mp4FileIndex(path.c_str()), 0);
    auto row = MediaRow("music", path);
    EXPECT_EQ(row["width"], "640");
    EXPECT_EQ(row["height"], "360");
    EXPECT_EQ(row["video_bitrate"], "1000000");
    EXPECT_EQ(row["audio_bitrate"], "128000");
    EXPECT_EQ(row["has_cover"], "1");
    EXPECT_TRUE(MediaRow("video", path).empty());
}

TEST_F(Mp4IndexTest, AnUnreadableFileIsSavedAndSaysSo) {
    FileWrite(kSong, "no film");
    EXPECT_EQ(Mp4FileIndex(kSong), 1);
    EXPECT_EQ(MediaRow("music", kSong)["title"], "song.live");
}

TEST_F(Mp4IndexTest, AFailedSaveLeavesTheResult) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"nonsense:\"\n");
    FileWrite(kSong, MovieFile(Track()));
    EXPECT_EQ(Mp4FileIndex(kSong), 0);
    const Texts lines = LogTakeTexts();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "mp4.c# Failed to save media info to database."), 1);
    FileWrite(kSong, "no film");
    EXPECT_EQ(Mp4FileIndex(kSong), 1);
}

TEST_F(Mp4IndexTest, ARowGoesWithItsFileOnly) {
    FileWrite(kSong, MovieFile(Track()));
    ASSERT_EQ(Mp4FileIndex(kSong), 0);
    EXPECT_EQ(Mp4FileRemove(kSong), -1) << "the file is still there";
    EXPECT_FALSE(MediaRow("music", kSong).empty());
    std::filesystem::remove(kSong);
    EXPECT_EQ(Mp4FileRemove(kSong), 0);
    EXPECT_TRUE(MediaRow("music", kSong).empty());
}
