// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/index.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "daemon/directory.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

using Texts = std::vector<std::string>;

class IndexTest : public testing::Test {
protected:
    IndexTest() {
        SandboxReset();
        LogTake();
    }
};

} // namespace

TEST(IndexHandlerTable, HasSixtyEightDifferentExtensionsInLowerCase) {
    std::set<std::string> extensions;
    for (const IndexHandler *row = IndexHandlerTable; row->extension != nullptr; ++row) {
        extensions.insert(row->extension);
        EXPECT_NE(IndexRecipeOf(row->indexer).log_name, nullptr);
        EXPECT_NE(IndexRecipeOf(row->indexer).remove_log_name, nullptr);
        for (const char *c = row->extension; *c != '\0'; ++c)
            EXPECT_FALSE(*c >= 'A' && *c <= 'Z');
    }
    EXPECT_EQ(extensions.size(), 68u);
}

TEST(IndexHandlerTable, NamesTheIndexerOfEachFamily) {
    const struct {
        const char *extension;
        Indexer indexer;
    } expected[] = {
        {"mp3", Indexer::music},
        {"ogg", Indexer::probed_audio},
        {"m4a", Indexer::mp4},
        {"m4b", Indexer::mp4},
        {"pcm", Indexer::plain_audio},
        {"wpl", Indexer::playlist},
        {"mp4", Indexer::probed_video},
        {"dat", Indexer::vcd},
        {"srt", Indexer::plain_video},
        {"psb", Indexer::plain_video},
        {"dvr-ms", Indexer::probed_video},
        {"tp", Indexer::probed_video},
        {"ufo", Indexer::photo},
        {"aif", Indexer::aiff},
        {"flac", Indexer::flac},
        {"aac", Indexer::aac},
    };
    for (const auto &row : expected) {
        const IndexHandler *handler = IndexHandlerFind(row.extension);
        ASSERT_NE(handler, nullptr) << row.extension;
        EXPECT_EQ(handler->indexer, row.indexer) << row.extension;
    }
}

TEST(IndexHandlerTable, IsSearchedWithoutCase) {
    EXPECT_EQ(IndexHandlerFind("MP3"), IndexHandlerFind("mp3"));
    EXPECT_EQ(IndexHandlerFind("DvR-mS"), IndexHandlerFind("dvr-ms"));
}

TEST(IndexHandlerTable, DoesNotKnowOtherExtensions) {
    for (const char *extension : {"", "mp", "mp33", "txt", "doc", "webm"})
        EXPECT_EQ(IndexHandlerFind(extension), nullptr) << extension;
}

TEST_F(IndexTest, BadCallsAreLoggedAndFail) {
    EXPECT_EQ(IndexFileAdd(nullptr, kIndexAdd), -1);
    EXPECT_EQ(IndexFileAdd("/volume1/music/a.pcm", 0), -1);
    EXPECT_EQ(IndexFileAdd("/volume1/music/a.pcm", kIndexReindex), -1);
    EXPECT_EQ(IndexFileAdd("/volume1/music/a.pcm", kIndexUpdate), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(4, "index.c# Bad parameter."));
}

TEST_F(IndexTest, ADirectoryIsRecordedAndNeverRemovedHere) {
    std::filesystem::create_directory("/volume1/music/Album");
    EXPECT_EQ(IndexFileAdd("/volume1/music/Album", kIndexAdd), 0);
    EXPECT_EQ(MediaRow("directory", "/volume1/music/Album")["title"], "Album");
    EXPECT_EQ(IndexFileAdd("/volume1/music/Album", kIndexRemove), 0);
    EXPECT_FALSE(MediaRow("directory", "/volume1/music/Album").empty());
}

TEST_F(IndexTest, AFileWithoutExtensionFailsSilently) {
    FileWrite("/volume1/music/README", "x");
    EXPECT_EQ(IndexFileAdd("/volume1/music/README", kIndexAdd), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(IndexTest, AnUnknownExtensionIsNothingToDo) {
    FileWrite("/volume1/music/notes.txt", "x");
    EXPECT_EQ(IndexFileAdd("/volume1/music/notes.txt", kIndexAdd), 0);
    EXPECT_EQ(IndexFileAdd("/volume1/music/notes.txt", kIndexRemove), 0);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(IndexTest, AResourceForkCompanionIsNeverAdded) {
    FileWrite("/volume1/music/._a.pcm", "x");
    EXPECT_EQ(IndexFileAdd("/volume1/music/._a.pcm", kIndexAdd), -1);
    EXPECT_EQ(IndexFileAdd("a.pcm", kIndexAdd), -1); // no directory part
    EXPECT_TRUE(LogTake().empty());
    EXPECT_TRUE(MediaPaths("music").empty());
}

TEST_F(IndexTest, ExtensionsAreMatchedWithoutCase) {
    FileWrite("/volume1/music/LOUD.PCM", "x");
    EXPECT_EQ(IndexFileAdd("/volume1/music/LOUD.PCM", kIndexAdd), 0);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/LOUD.PCM"});
}

TEST_F(IndexTest, AReaderFailureIsReportedToTheEventLogAndFails) {
    FileWrite("/volume1/music/broken.mp3", "no audio at all");
    LogTake();
    EXPECT_EQ(IndexFileAdd("/volume1/music/broken.mp3", kIndexAdd), -1);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/broken.mp3"}); // its row is saved all the same
    const std::vector<LogLine> log = LogTake();
    ASSERT_GE(log.size(), 2u);
    EXPECT_NE(
        log[log.size() - 2].text.find("Failed to parse media metadata of file [/volume1/music/broken.mp3]."),
        std::string::npos);
    EXPECT_EQ(log.back().priority, LOG_NOTICE);
    EXPECT_NE(log.back().text.find("0x11B00510"), std::string::npos);
    EXPECT_NE(log.back().text.find("/volume1/music/broken.mp3"), std::string::npos);
}

TEST_F(IndexTest, RemovingAFileThatExistsKeepsItsRow) {
    FileWrite("/volume1/music/a.pcm", "x");
    ASSERT_EQ(IndexFileAdd("/volume1/music/a.pcm", kIndexAdd), 0);
    EXPECT_EQ(IndexFileAdd("/volume1/music/a.pcm", kIndexRemove), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"media.c# File exists. Skip remove it from database."});
    EXPECT_EQ(MediaPaths("music").size(), 1u);
    std::filesystem::remove("/volume1/music/a.pcm");
    EXPECT_EQ(IndexFileAdd("/volume1/music/a.pcm", kIndexRemove), 0);
    EXPECT_TRUE(MediaPaths("music").empty());
}

TEST_F(IndexTest, DirectoryAddTakesDirectoriesOnly) {
    FileWrite("/volume1/music/a.pcm", "x");
    EXPECT_EQ(DirectoryAdd("/volume1/music/a.pcm"), -1);
    EXPECT_EQ(DirectoryAdd("/volume1/music/none"), -1);
    EXPECT_TRUE(LogTake().empty());
    EXPECT_EQ(DirectoryAdd(nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"directory.c# Bad parameter."});
}

TEST_F(IndexTest, AStoreThatIsAwayIsReportedByTheIndexersInTheirWords) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    const struct {
        const char *path;
        const char *message;
    } expected[] = {
        {"/volume1/music/a.pcm", "media.c# Failed to save media info to database."},
        {"/volume1/video/a.srt", "media.c# Failed to save media info to database."},
        {"/volume1/music/a.m3u", "playlist.c# Failed to save playlist info."},
        {"/volume1/photo/a.bmp", "photo.c# Failed to save playlist info."},
        {"/volume1/music/a.aif", "aiff.c# Failed to save media info to database."},
        {"/volume1/music", "directory.c# Failed to save directory info to database."},
    };
    for (const auto &row : expected) {
        if (!std::filesystem::is_directory(row.path))
            FileWrite(row.path, "x");
        LogTake();
        EXPECT_EQ(IndexFileAdd(row.path, kIndexAdd), std::filesystem::is_directory(row.path) ? 0 : -1);
        const Texts log = LogTakeTexts();
        EXPECT_NE(std::find(log.begin(), log.end(), row.message), log.end()) << row.path;
    }
    const struct {
        const char *path;
        const char *message;
    } removals[] = {
        {"/volume1/music/b.mp3", "music.c# Failed to remove [/volume1/music/b.mp3] from database"},
        {"/volume1/music/b.pcm", "media.c# Failed to remove [/volume1/music/b.pcm] from database"},
        {"/volume1/video/b.dat", "video.c# Failed to remove [/volume1/video/b.dat] from database"},
        {"/volume1/music/b.m3u", "playlist.c# Failed to remove /volume1/music/b.m3u from database."},
        {"/volume1/photo/b.jpg", "photo.c# Failed to remove /volume1/photo/b.jpg from database."},
    };
    for (const auto &row : removals) {
        LogTake();
        EXPECT_EQ(IndexFileAdd(row.path, kIndexRemove), -1);
        const Texts log = LogTakeTexts();
        EXPECT_NE(std::find(log.begin(), log.end(), row.message), log.end()) << row.path;
    }
}
