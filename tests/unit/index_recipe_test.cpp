// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the kinds of files differ in on their way to a row.
#include "catalogue/index_recipe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "catalogue/indexers.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

// The lines with their shape, "N" for the number of the line.
std::vector<std::string> Lines() {
    static const std::regex number(R"(^([a-z_0-9]+\.c)( \(|:)\d+)");
    std::vector<std::string> lines;
    for (const LogLine &line : LogTake())
        lines.push_back(std::regex_replace(line.text, number, "$1$2N"));
    return lines;
}

bool Has(const std::vector<std::string> &lines, const std::string &line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// What a record has before the reader sees it.
enum Before { kNothing, kTitle, kTitleAndAlbum, kTitleAlbumAndTimes };

struct Kind {
    const char *name;
    Indexer indexer;
    const char *extension;
    const char *table;
    const char *bad_parameter;
    const char *empty_path;
    Before before;
    bool text_is_made_valid; // the album that the directory's name gives
    int unread;              // the result for a file that is none of the kind
    const char *save_failed;
    int save_failed_result; // for a file that is of the kind
    const char *remover;    // in front of the lines about a removal
    bool brackets_path;     // in the line about one that failed
};

constexpr Kind kKinds[] = {
    {"music", Indexer::music, "mp3", "music", "music.c (N) Bad parameter.", "music.c (N) Bad parameter.",
     kTitle, false, 1, "music.c (N) Failed to save media info to database.", -1, "music.c (N)", true},
    {"probed_audio", Indexer::probed_audio, "ogg", "music", "media.c (N) Bad parameter.",
     "media.c (N) Bad parameter.", kTitleAlbumAndTimes, true, 1,
     "media.c (N) Failed to save media info to database.", -1, "media.c (N)", true},
    {"plain_audio", Indexer::plain_audio, "pcm", "music", "media.c:N Bad parameter.",
     "media.c:N Bad parameter.", kTitleAlbumAndTimes, true, 0,
     "media.c:N Failed to save media info to database.", -1, "media.c (N)", true},
    {"probed_video", Indexer::probed_video, "avi", "video", "media.c (N) Bad parameter.",
     "media.c (N) Bad parameter.", kTitleAlbumAndTimes, true, 1,
     "media.c (N) Failed to save media info to database.", -1, "media.c (N)", true},
    {"plain_video", Indexer::plain_video, "iso", "video", "media.c:N Bad parameter.",
     "media.c:N Bad parameter.", kTitleAlbumAndTimes, true, 0,
     "media.c:N Failed to save media info to database.", -1, "media.c (N)", true},
    {"vcd", Indexer::vcd, "dat", "video", "video.c (N) Bad parameter.", "video.c (N) Bad parameter.",
     kTitleAlbumAndTimes, true, 1, "video.c (N) Failed to save media info to database.", -1, "video.c (N)",
     true},
    {"playlist", Indexer::playlist, "m3u", "playlist", "playlist.c (N) Bad parameter.",
     "playlist.c (N) Bad parameter.", kTitleAlbumAndTimes, false, 0,
     "playlist.c (N) Failed to save playlist info.", -1, "playlist.c (N)", false},
    {"photo", Indexer::photo, "bmp", "photo", "photo.c (N) Bad parameter.", "photo.c (N) Bad parameter.",
     kTitleAndAlbum, false, 0, "photo.c (N) Failed to save playlist info.", -1, "photo.c (N)", false},
    {"aiff", Indexer::aiff, "aif", "music", "aiff.c (N) Bad parameter.", "aiff.c (N) Bad parameter.",
     kNothing, false, 0, "aiff.c (N) Failed to save media info to database.", -1, "aiff.c (N)", true},
    {"mp4", Indexer::mp4, "m4a", "music", "mp4.c (N) Bad parameter.", "mp4.c (N) Bad parameter.", kNothing,
     false, 1, "mp4.c (N) Failed to save media info to database.", 0, "mp4.c (N)", true},
    {"flac", Indexer::flac, "flac", "music", "flac.c (N) Bad parameter.", "flac.c (N) Bad parameter.",
     kTitleAndAlbum, false, 1, "flac.c (N) Failed to save media info to database.", 0, "media.c (N)", true},
    {"aac", Indexer::aac, "aac", "music", "aac.c:N Bad parameter.", "util.c:N Bad parameter.",
     kTitleAlbumAndTimes, false, 1, "aac.c:N Failed to save media info to database. [/volume1/music/A/x.aac]",
     0, "media.c (N)", true},
};

MediaInfo seen;   // by the reader below
int seen_result;  // that it gives
int second_reads; // since the test began

int SeeingRead(const char *, MediaInfo *record) {
    seen = *record;
    return seen_result;
}

void SecondRead(const char *, MediaInfo *record) {
    ++second_reads;
    record->year = 1999;
}

class IndexRecipeTest : public testing::TestWithParam<Kind> {
protected:
    IndexRecipeTest() {
        SandboxReset();
        LogTake();
        seen = MediaInfo{};
        seen_result = 0;
        second_reads = 0;
    }

    static const IndexRecipe &Recipe() { return IndexRecipeOf(GetParam().indexer); }

    // With a reader that reads whatever the file is.
    static IndexRecipe SeeingRecipe() {
        IndexRecipe recipe = Recipe();
        recipe.read = SeeingRead;
        return recipe;
    }

    static std::string FileIn(const std::string &folder) {
        const std::string path = folder + "/x." + GetParam().extension;
        FileWrite(path, "neither sound nor pictures");
        return path;
    }

    static void MakeSavesFail() {
        FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, IndexRecipeTest, testing::ValuesIn(kKinds),
                         [](const auto &kind) { return std::string(kind.param.name); });

} // namespace

TEST_P(IndexRecipeTest, TellsAMissingPathInItsShape) {
    EXPECT_EQ(IndexRecipeAdd(Recipe(), nullptr), -1);
    EXPECT_EQ(Lines(), std::vector<std::string>{GetParam().bad_parameter});
    EXPECT_EQ(IndexRecipeAdd(Recipe(), ""), -1);
    EXPECT_EQ(Lines(), std::vector<std::string>{GetParam().empty_path});
    EXPECT_EQ(IndexRecipeRemove(Recipe(), ""), -1);
    EXPECT_EQ(Lines(), std::vector<std::string>{GetParam().remover + std::string(" Bad parameter.")});
}

TEST_P(IndexRecipeTest, GivesItsReaderTheseFields) {
    const std::string path = FileIn("/volume1/music/A");
    EXPECT_EQ(IndexRecipeAdd(SeeingRecipe(), path.c_str()), 0);
    EXPECT_EQ(seen.path, path);
    EXPECT_EQ(seen.file_size, 26u);
    EXPECT_STREQ(seen.title, GetParam().before >= kTitle ? "x" : "");
    EXPECT_STREQ(seen.album, GetParam().before >= kTitleAndAlbum ? "A" : "");
    EXPECT_EQ(seen.create_time[0] != '\0', GetParam().before == kTitleAlbumAndTimes);
    EXPECT_EQ(seen.modify_time[0] != '\0', GetParam().before == kTitleAlbumAndTimes);
    auto row = MediaRow(GetParam().table, path);
    EXPECT_EQ(row["title"], "x");
    EXPECT_EQ(row["file_size"], "26");
}

TEST_P(IndexRecipeTest, MakesTextValidOrNot) {
    const std::string path = FileIn("/volume1/music/caf\xE9");
    MediaInfo record = {};
    EXPECT_EQ(IndexRecipeFill(SeeingRecipe(), path.c_str(), &record), 0);
    const bool has_album =
        GetParam().before >= kTitleAndAlbum || Recipe().after == AfterReading::times_valid_then_defaults;
    ASSERT_TRUE(has_album);
    EXPECT_STREQ(record.album, GetParam().text_is_made_valid ? "caf\xC3\xA9" : "caf\xE9");
}

TEST_P(IndexRecipeTest, SavesAFileThatCannotBeRead) {
    const std::string path = FileIn("/volume1/music/A");
    EXPECT_EQ(IndexRecipeAdd(Recipe(), path.c_str()), GetParam().unread);
    auto row = MediaRow(GetParam().table, path);
    EXPECT_EQ(row["title"], "x");
    EXPECT_EQ(row["album"], "A");
    EXPECT_NE(row["create_time"], "");
}

TEST_P(IndexRecipeTest, TellsASaveThatFailedInItsWords) {
    const std::string path = FileIn("/volume1/music/A");
    MakeSavesFail();
    EXPECT_EQ(IndexRecipeAdd(SeeingRecipe(), path.c_str()), GetParam().save_failed_result);
    EXPECT_TRUE(Has(Lines(), GetParam().save_failed));
    seen_result = 1;
    EXPECT_EQ(IndexRecipeAdd(SeeingRecipe(), path.c_str()), 1) << "the reader's failure is not hidden";
    EXPECT_TRUE(Has(Lines(), GetParam().save_failed));
}

TEST_P(IndexRecipeTest, SavesNothingThatItsReaderRefuses) {
    const std::string path = FileIn("/volume1/music/A");
    seen_result = -1;
    EXPECT_EQ(IndexRecipeAdd(SeeingRecipe(), path.c_str()), -1);
    EXPECT_TRUE(MediaPaths(GetParam().table).empty());
    EXPECT_TRUE(LogTake().empty());
}

TEST_P(IndexRecipeTest, LeavesOutAttributeDirectoriesOrNot) {
    const std::string path = FileIn("/volume1/music/@eaDir");
    EXPECT_EQ(IndexRecipeAdd(SeeingRecipe(), path.c_str()), 0);
    const bool left_out = GetParam().indexer == Indexer::photo;
    EXPECT_EQ(MediaPaths(GetParam().table).empty(), left_out);
    EXPECT_EQ(IndexRecipeAdd(Recipe(), "/volume1/music/@eaDir/none"), -1);
}

TEST_P(IndexRecipeTest, ReadsASecondTimeOnlyToSave) {
    IndexRecipe recipe = SeeingRecipe();
    EXPECT_EQ(recipe.second_read != nullptr, GetParam().indexer == Indexer::mp4);
    recipe.second_read = SecondRead;
    const std::string path = FileIn("/volume1/music/A");
    MediaInfo record = {};
    EXPECT_EQ(IndexRecipeFill(recipe, path.c_str(), &record), 0);
    EXPECT_EQ(second_reads, 0);
    EXPECT_EQ(IndexRecipeAdd(recipe, path.c_str()), 0);
    EXPECT_EQ(second_reads, 1);
    EXPECT_EQ(MediaRow(GetParam().table, path)["year"], "1999");
}

TEST_P(IndexRecipeTest, TellsARemovalInItsName) {
    const std::string path = FileIn("/volume1/music/A");
    const std::string remover = GetParam().remover;
    EXPECT_EQ(IndexRecipeRemove(Recipe(), path.c_str()), -1);
    EXPECT_EQ(Lines(), std::vector{remover + " File exists. Skip remove it from database."});
    std::filesystem::remove(path);
    MakeSavesFail();
    EXPECT_EQ(IndexRecipeRemove(Recipe(), path.c_str()), -1);
    EXPECT_TRUE(Has(Lines(), GetParam().brackets_path
                                 ? remover + " Failed to remove [" + path + "] from database"
                                 : remover + " Failed to remove " + path + " from database."));
}
