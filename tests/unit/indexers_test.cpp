// SPDX-License-Identifier: GPL-2.0-or-later
#include <gtest/gtest.h>

#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <utime.h>

#include <algorithm>
#include <filesystem>

#include "catalogue/indexers.h"
#include "catalogue/util.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

using Texts = std::vector<std::string>;

class IndexersTest : public testing::Test {
protected:
    IndexersTest() {
        SandboxReset();
        LogTake();
    }
};

int Add(Indexer indexer, const char *path) {
    return IndexRecipeAdd(IndexRecipeOf(indexer), path);
}

int Remove(Indexer indexer, const char *path) {
    return IndexRecipeRemove(IndexRecipeOf(indexer), path);
}

struct NamedIndexer {
    const char *name;
    Indexer indexer;
    const char *bad_parameter;
};

constexpr NamedIndexer kIndexers[] = {
    {"music", Indexer::music, "music.c# Bad parameter."},
    {"probed_audio", Indexer::probed_audio, "media.c# Bad parameter."},
    {"plain_audio", Indexer::plain_audio, "media.c# Bad parameter."},
    {"probed_video", Indexer::probed_video, "media.c# Bad parameter."},
    {"plain_video", Indexer::plain_video, "media.c# Bad parameter."},
    {"vcd", Indexer::vcd, "video.c# Bad parameter."},
    {"playlist", Indexer::playlist, "playlist.c# Bad parameter."},
    {"photo", Indexer::photo, "photo.c# Bad parameter."},
    {"aiff", Indexer::aiff, "aiff.c# Bad parameter."},
    {"mp4", Indexer::mp4, "mp4.c# Bad parameter."},
    {"flac", Indexer::flac, "flac.c# Bad parameter."},
};

} // namespace

TEST_F(IndexersTest, AMissingOrEmptyPathIsABadParameter) {
    for (const NamedIndexer &indexer : kIndexers) {
        EXPECT_EQ(Add(indexer.indexer, nullptr), -1) << indexer.name;
        EXPECT_EQ(Add(indexer.indexer, ""), -1) << indexer.name;
        EXPECT_EQ(LogTakeTexts(), Texts(2, indexer.bad_parameter)) << indexer.name;
    }
    for (const NamedIndexer &indexer : kIndexers) {
        EXPECT_EQ(Remove(indexer.indexer, nullptr), -1) << indexer.name;
        EXPECT_EQ(Remove(indexer.indexer, ""), -1) << indexer.name;
        EXPECT_EQ(LogTake().size(), 2u);
    }
}

TEST_F(IndexersTest, APathThatIsNoFileFailsSilently) {
    for (const NamedIndexer &indexer : kIndexers) {
        EXPECT_EQ(Add(indexer.indexer, "/volume1/music/none.mp3"), -1) << indexer.name;
        EXPECT_EQ(Add(indexer.indexer, "/volume1/music"), -1) << indexer.name;
        EXPECT_EQ(Add(indexer.indexer, "/dev/null"), -1) << indexer.name;
    }
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(IndexersTest, BasicFieldsComeFromPathAndFileSystem) {
    FileWrite("/volume1/music/Artist/Album/song.live.pcm", "12345");
    utimbuf times = {.actime = 0, .modtime = 1'000'000'000};
    utime("/volume1/music/Artist/Album/song.live.pcm", &times);
    MediaInfo record = {};
    ASSERT_EQ(MediaInfoFillBasic("/volume1/music/Artist/Album/song.live.pcm", &record), 0);
    EXPECT_STREQ(record.path, "/volume1/music/Artist/Album/song.live.pcm");
    EXPECT_STREQ(record.title, "song.live");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_EQ(record.file_size, 5u);
    char expected[32];
    const time_t modified = times.modtime;
    strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", localtime(&modified));
    EXPECT_STREQ(record.modify_time, expected);
    EXPECT_EQ(strlen(record.create_time), strlen(expected));
}

TEST_F(IndexersTest, BasicFillingWantsItsArguments) {
    MediaInfo record = {};
    EXPECT_EQ(MediaInfoFillBasic(nullptr, &record), -1);
    EXPECT_EQ(MediaInfoFillBasic("", &record), -1);
    EXPECT_EQ(MediaInfoFillBasic("/volume1/music", nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(3, "util.c# Bad parameter."));
    EXPECT_EQ(MediaInfoFillBasic("/volume1/music", &record), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(IndexersTest, ATitleKeepsAllButTheLastExtension) {
    char title[kMediaTextSize];
    MediaTitleFromName("/m/a.b.mp3", title);
    EXPECT_STREQ(title, "a.b");
    MediaTitleFromName("/m/plain", title);
    EXPECT_STREQ(title, "plain");
    MediaTitleFromName("name.mp3", title);
    EXPECT_STREQ(title, "name");
    MediaTitleFromName("/m.d/.mp3", title);
    EXPECT_STREQ(title, "");
    MediaTitleFromName(("/m/" + std::string(300, 'x') + ".mp3").c_str(), title);
    EXPECT_EQ(strlen(title), 254u);
}

TEST_F(IndexersTest, ALongFileNameGivesATitleOf254Bytes) {
    const std::string path = "/volume1/music/" + std::string(255, 'x'); // the longest name of a file
    FileWrite(path, "x");
    MediaInfo record = {};
    ASSERT_EQ(MediaInfoFillBasic(path.c_str(), &record), 0);
    EXPECT_EQ(record.title, std::string(254, 'x'));
}

TEST_F(IndexersTest, AnAlbumIsTheContainingDirectory) {
    char album[kMediaTextSize] = "";
    EXPECT_TRUE(MediaAlbumFromPath("/volume1/music/Album/a.mp3", album));
    EXPECT_STREQ(album, "Album");
    char none[kMediaTextSize] = "";
    EXPECT_TRUE(MediaAlbumFromPath("/song.mp3", none));
    EXPECT_TRUE(MediaAlbumFromPath("song.mp3", none));
    EXPECT_STREQ(none, "");
    // A directory name that fills the field leaves no room for the "/" that ends it.
    EXPECT_FALSE(MediaAlbumFromPath(("/m/" + std::string(255, 'd') + "/a.mp3").c_str(), album));
    EXPECT_EQ(album, std::string(254, 'd'));
    char fits[kMediaTextSize] = "";
    EXPECT_TRUE(MediaAlbumFromPath(("/m/" + std::string(253, 'd') + "/a.mp3").c_str(), fits));
    EXPECT_EQ(fits, std::string(253, 'd'));
}

TEST_F(IndexersTest, AnImpossibleAlbumIsLoggedByEachIndexer) {
    const std::string folder = "/volume1/music/" + std::string(255, 'd');
    const struct {
        const char *name;
        Indexer indexer;
        const char *message;
    } expected[] = {
        {"a.mp3", Indexer::music, "music.c# Impossible error."},
        {"a.pcm", Indexer::plain_audio, "util.c# Impossible error."},
        {"a.bmp", Indexer::photo, "photo.c# Impossible error."},
        {"a.aif", Indexer::aiff, "aiff.c# Impossible error."},
    };
    for (const auto &row : expected) {
        const std::string path = folder + "/" + row.name;
        FileWrite(path, "x");
        Add(row.indexer, path.c_str());
        const Texts log = LogTakeTexts();
        EXPECT_NE(std::find(log.begin(), log.end(), row.message), log.end()) << row.name;
    }
}

TEST_F(IndexersTest, PlainFilesAreSavedWithWhatTheFileSystemGives) {
    FileWrite("/volume1/music/Album/raw.pcm", "1234");
    FileWrite("/volume1/video/Film/disc.iso", "12");
    EXPECT_EQ(Add(Indexer::plain_audio, "/volume1/music/Album/raw.pcm"), 0);
    EXPECT_EQ(Add(Indexer::plain_video, "/volume1/video/Film/disc.iso"), 0);
    auto row = MediaRow("music", "/volume1/music/Album/raw.pcm");
    EXPECT_EQ(row["title"], "raw");
    EXPECT_EQ(row["album"], "Album");
    EXPECT_EQ(row["file_size"], "4");
    EXPECT_EQ(MediaRow("video", "/volume1/video/Film/disc.iso")["title"], "disc");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(IndexersTest, AFileThatItsReaderCannotReadIsSavedAllTheSame) {
    const struct {
        const char *path;
        Indexer indexer;
        const char *table;
        const char *message;
    } expected[] = {
        {"/volume1/music/A/x.mp3", Indexer::music, "music", "music.c# Failed to parse music metadata."},
        {"/volume1/music/A/x.ogg", Indexer::probed_audio, "music",
         "media.c# Failed to parse music metadata from file [/volume1/music/A/x.ogg]."},
        {"/volume1/music/A/x.avi", Indexer::probed_video, "video",
         "media.c# Failed to parse media metadata from file [/volume1/music/A/x.avi]."},
        {"/volume1/music/A/x.dat", Indexer::vcd, "video", "video.c# Failed to parse dat metadata."},
    };
    for (const auto &row : expected) {
        FileWrite(row.path, "neither sound nor pictures");
        EXPECT_EQ(Add(row.indexer, row.path), 1) << row.path;
        auto saved = MediaRow(row.table, row.path);
        EXPECT_EQ(saved["title"], "x") << row.path;
        EXPECT_EQ(saved["album"], "A") << row.path;
        EXPECT_EQ(saved["file_size"], "26") << row.path;
        const Texts log = LogTakeTexts();
        EXPECT_NE(std::find(log.begin(), log.end(), row.message), log.end()) << row.path;
    }
}

TEST_F(IndexersTest, AFailedSaveDoesNotHideAnEarlierReaderFailure) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    FileWrite("/volume1/music/x.mp3", "no sound");
    FileWrite("/volume1/music/x.pcm", "raw");
    EXPECT_EQ(Add(Indexer::music, "/volume1/music/x.mp3"), 1);
    EXPECT_EQ(Add(Indexer::plain_audio, "/volume1/music/x.pcm"), -1);
}

TEST_F(IndexersTest, PlaylistTimesAreThoseOfCtimeWithItsNewline) {
    FileWrite("/volume1/music/Mix/list.m3u", "a.mp3\n");
    utimbuf times = {.actime = 0, .modtime = 1'000'000'000};
    utime("/volume1/music/Mix/list.m3u", &times);
    EXPECT_EQ(Add(Indexer::playlist, "/volume1/music/Mix/list.m3u"), 0);
    auto row = MediaRow("playlist", "/volume1/music/Mix/list.m3u");
    EXPECT_EQ(row["title"], "list");
    EXPECT_EQ(row["album"], "Mix");
    EXPECT_EQ(row["file_size"], "6");
    const time_t modified = times.modtime;
    std::string expected = ctime(&modified);
    expected.pop_back(); // the store takes blanks off the ends of every text
    EXPECT_EQ(row["modify_time"], expected);
}

TEST_F(IndexersTest, APhotoGetsItsSizeInPixels) {
    // A BMP header: 3 x 2 pixels, 24 bits.
    std::string bmp("BM\x3e\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x03\0\0\0\x02\0\0\0\x01\0\x18\0", 30);
    bmp.resize(78);
    FileWrite("/volume1/photo/Trip/p.bmp", bmp);
    EXPECT_EQ(Add(Indexer::photo, "/volume1/photo/Trip/p.bmp"), 0);
    auto row = MediaRow("photo", "/volume1/photo/Trip/p.bmp");
    EXPECT_EQ(row["width"], "3");
    EXPECT_EQ(row["height"], "2");
    EXPECT_EQ(row["title"], "p");
    EXPECT_EQ(row["album"], "Trip");
}

TEST_F(IndexersTest, APhotoInAnAttributeDirectoryIsNotIndexed) {
    FileWrite("/volume1/photo/@eaDir/p.bmp", "x");
    EXPECT_EQ(Add(Indexer::photo, "/volume1/photo/@eaDir/p.bmp"), 0);
    EXPECT_TRUE(MediaPaths("photo").empty());
}

TEST_F(IndexersTest, ARemovedFileLosesItsRowOnlyInItsTable) {
    FileWrite("/volume1/music/x.pcm", "raw");
    ASSERT_EQ(Add(Indexer::plain_audio, "/volume1/music/x.pcm"), 0);
    ASSERT_EQ(Add(Indexer::plain_video, "/volume1/music/x.pcm"), 0);
    EXPECT_EQ(Remove(Indexer::plain_audio, "/volume1/music/x.pcm"), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"media.c# File exists. Skip remove it from database."});
    std::filesystem::remove("/volume1/music/x.pcm");
    EXPECT_EQ(Remove(Indexer::plain_audio, "/volume1/music/x.pcm"), 0);
    EXPECT_TRUE(MediaPaths("music").empty());
    EXPECT_EQ(MediaPaths("video").size(), 1u);
}
