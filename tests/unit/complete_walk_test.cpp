// SPDX-License-Identifier: GPL-2.0-or-later
//
// What readers say on its way to rows, under the rule set `complete`.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "catalogue/bounds.h"
#include "catalogue/file_readers.h"
#include "catalogue/file_stamp.h"
#include "daemon/index.h"
#include "daemon/walker.h"
#include "platform/index/file_state.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_fixture.h"

namespace fs = std::filesystem;

namespace {

using CompleteWalkTest = CompleteFixture;

constexpr char kFilm[] = "/volume1/music/x.avi";

std::string AddedOf(const std::string &path) {
    return MediaRow("file_state", path)["added"];
}

} // namespace

TEST_F(CompleteWalkTest, EachFileGetsTheRowThatItsReaderTells) {
    for (int i = 0; i < 100; ++i)
        FileWrite("/volume1/music/" + std::to_string(i % 10) + "/" + std::to_string(i) + ".mp3",
                  "title T" + std::to_string(i));
    Walk();
    EXPECT_EQ(MediaPaths("music").size(), 100u);
    for (int i = 0; i < 100; ++i) {
        auto row =
            MediaRow("music", "/volume1/music/" + std::to_string(i % 10) + "/" + std::to_string(i) + ".mp3");
        EXPECT_EQ(row["title"], "T" + std::to_string(i));
        EXPECT_EQ(row["album"], std::to_string(i % 10));
        EXPECT_EQ(row["file_size"], std::to_string(std::string("title T").size() + std::to_string(i).size()));
        EXPECT_NE(row["modify_time"], "");
    }
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(CompleteWalkTest, TheContentDecidesTheTable) {
    FileWrite("/volume1/music/film.mp3", "film F");
    FileWrite("/volume1/music/sound.avi", "song S");
    FileWrite("/volume1/music/photo.mp3", "photo P");
    FileWrite("/volume1/music/unread.avi", "failed it is nothing");
    Walk();
    EXPECT_EQ(Title("video", "/volume1/music/film.mp3"), "F");
    EXPECT_EQ(Title("music", "/volume1/music/sound.avi"), "S");
    EXPECT_EQ(Title("photo", "/volume1/music/photo.mp3"), "P");
    EXPECT_EQ(Title("video", "/volume1/music/unread.avi"), "unread");
    EXPECT_EQ(LinesWith("/volume1/music/unread.avi cannot be read: it is nothing.").size(), 1u);
}

// Adds it alone: no sweep would remove what was left.
TEST_F(CompleteWalkTest, ARowIsInOneTable) {
    RulesSet("appliance");
    FileWrite(kFilm, "song S");
    InRun([] { EXPECT_EQ(IndexFileAdd(kFilm, kIndexAdd), -1) << "nothing that it knows"; });
    EXPECT_EQ(MediaPaths("video"), Texts{kFilm});
    RulesSet("complete");
    InRun([] { EXPECT_EQ(IndexFileAdd(kFilm, kIndexAdd), 0); });
    const std::string added = AddedOf(kFilm);
    EXPECT_NE(added, "");
    const auto expect_in = [&](const char *table, const std::string &script) {
        FileWrite(kFilm, script);
        InRun([] { IndexFileAdd(kFilm, kIndexAdd); });
        for (const char *each : {"music", "video", "photo", "playlist"})
            EXPECT_EQ(MediaPaths(each), each == std::string_view(table) ? Texts{kFilm} : Texts{}) << script;
        EXPECT_EQ(AddedOf(kFilm), added);
    };
    expect_in("music", "song S");
    expect_in("video", "film F");
    expect_in("photo", "photo P");
    expect_in("music", "picture 3000 S");
    EXPECT_EQ(MediaRow("music", kFilm)["has_cover"], "1");
    char cover[4096];
    ASSERT_EQ(GetCoverPath(kFilm, cover, sizeof cover, 3, 1, kCoverJpeg), 1);
    EXPECT_TRUE(fs::exists(cover));
    fs::remove(kFilm);
    InRun([] { EXPECT_EQ(IndexFileAdd(kFilm, kIndexRemove), 0); });
    EXPECT_EQ(MediaPaths("music"), Texts{});
    EXPECT_FALSE(fs::exists(cover));
}

TEST_F(CompleteWalkTest, ACoverIsStoredWhole) {
    FileWrite("/volume1/music/A/with.mp3", "picture 70000 T");
    FileWrite("/volume1/music/A/without.mp3", "title T");
    Walk();
    EXPECT_EQ(MediaRow("music", "/volume1/music/A/with.mp3")["has_cover"], "1");
    EXPECT_EQ(MediaRow("music", "/volume1/music/A/without.mp3")["has_cover"], "0");
    char cover[4096];
    ASSERT_EQ(GetCoverPath("/volume1/music/A/with.mp3", cover, sizeof cover, 3, 1, kCoverJpeg), 1);
    const std::string picture = FileRead(cover);
    ASSERT_EQ(picture.size(), 70000u);
    EXPECT_EQ(static_cast<unsigned char>(picture[69999]), static_cast<unsigned char>(69999 * 7 + 70000));
    FileWrite("/volume1/music/A/with.mp3", "title T");
    Walk();
    EXPECT_EQ(MediaRow("music", "/volume1/music/A/with.mp3")["has_cover"], "0");
    EXPECT_FALSE(fs::exists(cover));
}

TEST_F(CompleteWalkTest, AReindexSweepsWhatIsGoneAndKeepsWhatIsThere) {
    for (int i = 0; i < 60; ++i)
        FileWrite("/volume1/music/" + std::to_string(i / 6) + "/" + std::to_string(i) + ".mp3",
                  i % 7 == 0 ? "crash" : "title T");
    Reindex();
    EXPECT_EQ(MediaPaths("music").size(), 60u);
    EXPECT_EQ(MediaPaths("directory").size(), 11u);
    fs::remove_all("/volume1/music/3");
    fs::remove("/volume1/music/5/30.mp3");
    fs::remove("/volume1/music/5/31.mp3");
    FileWrite("/volume1/music/7/42.mp3", "title now good");
    FileWrite("/volume1/music/7/43.mp3", "film now a film");
    Reindex();
    EXPECT_EQ(MediaPaths("music").size(), 60u - 6 - 2 - 1);
    EXPECT_EQ(MediaPaths("video"), Texts{"/volume1/music/7/43.mp3"});
    EXPECT_EQ(MediaPaths("directory").size(), 10u);
    EXPECT_EQ(Title("music", "/volume1/music/7/42.mp3"), "now good");
}

// Its row says what its reader would not.
TEST_F(CompleteWalkTest, AFileThatIsUnchangedIsNotRead) {
    FileWrite(kSong, "title another");
    FileWrite("/volume1/music/other.mp3", "title other");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    const std::string stamp = FileStampOf(status);
    for (const auto &index : {Walk, Reindex, +[] { InRun([] { IndexFileAdd(kSong, kIndexAdd); }); }}) {
        RowSave("as it was", stamp);
        index();
        EXPECT_EQ(Title("music", kSong), "as it was");
        RowSave("as it was", stamp + "1");
        index();
        EXPECT_EQ(Title("music", kSong), "another");
    }
    EXPECT_EQ(Title("music", "/volume1/music/other.mp3"), "other");
    RowSave("as it was", stamp);
    InRun([] {
        VELUTruncateTable("file_state");
        IndexDirWalk(kMusic, kIndexAdd, kWalkMedia);
    });
    EXPECT_EQ(Title("music", kSong), "another") << "forgotten";
    RowSave("as it was", stamp);
    InRun([] { MediaInfoDBDelete(kMediaMusic, kSong); });
    Walk();
    EXPECT_EQ(Title("music", kSong), "another") << "without a row";
    RowSave("as it was", stamp.substr(0, stamp.rfind('r')) + "r99");
    Walk();
    EXPECT_EQ(Title("music", kSong), "another") << "read by a newer revision";
}

TEST_F(CompleteWalkTest, AFileThatChangesWhileItIsReadIsReadOnceMore) {
    FileWrite(kSong, "title first");
    InRun([] {
        const ReadTicket ticket = IndexFileHandOver(kSong);
        while (!FileIsRead(ticket))
            FileReadersServe(true);
        FileWrite(kSong, "title and then");
        EXPECT_EQ(IndexFileAdd(kSong, kIndexAdd), 0);
    });
    EXPECT_EQ(Title("music", kSong), "and then");
    FileState state;
    InRun([&] { EXPECT_EQ(FileStateOf(kSong, &state), 1); });
    EXPECT_EQ(state.stamp, "") << "it has changed just now";
}

TEST_F(CompleteWalkTest, AFilmChangesWithItsSubtitles) {
    const char *film = "/volume1/music/film.mkv";
    FileWrite(film, "film F");
    struct stat status;
    ASSERT_EQ(stat(film, &status), 0);
    const auto row_save = [&](const std::string &stamp) {
        MediaInfo record = {};
        snprintf(record.path, sizeof record.path, "%s", film);
        snprintf(record.title, sizeof record.title, "as it was");
        InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kMediaVideo, &record, {.stamp = stamp}), 0); });
    };
    row_save(FileStampOf(status));
    Walk();
    EXPECT_EQ(Title("video", film), "as it was");
    FileWrite("/volume1/music/film.en.srt", "subtitles");
    Walk();
    EXPECT_EQ(Title("video", film), "as it was") << "it is not opened for that";
    const std::string with = FileStampOf(status) + FileStampBeside({"/volume1/music/film.en.srt"});
    EXPECT_EQ(MediaRow("file_state", film)["stamp"], with);
    row_save(with);
    Walk();
    EXPECT_EQ(Title("video", film), "as it was");
    fs::remove("/volume1/music/film.en.srt");
    InRun([] { SubtitleFilmsUpdate("/volume1/music/film.en.srt"); });
    EXPECT_EQ(MediaRow("file_state", film)["stamp"], FileStampOf(status));
}

// What is removed while a file waits for its turn is no file any more when that comes.
TEST_F(CompleteWalkTest, AFileThatVanishesBeforeItsTurn) {
    FileWrite("/volume1/music/1.mp3", "title one");
    const ReadTicket ticket = IndexFileHandOver("/volume1/music/1.mp3");
    ASSERT_NE(ticket, 0u);
    fs::remove("/volume1/music/1.mp3");
    FileGiveUp(ticket);
    EXPECT_EQ(IndexFileAdd("/volume1/music/1.mp3", kIndexAdd), -1);
    EXPECT_EQ(MediaPaths("music"), Texts{});
}

TEST_F(CompleteWalkTest, FilesThatHoldNothingToReadAreNotHandedOver) {
    for (const char *name : {"a.pcm", "b.srt", "d.iso", "e.txt", "._f.mp3", "g"}) {
        const std::string path = std::string("/volume1/music/") + name;
        FileWrite(path, "crash");
        EXPECT_EQ(IndexFileHandOver(path.c_str()), 0u) << path;
    }
    FileWrite("/volume1/music/c.m3u", "title x");
    EXPECT_NE(IndexFileHandOver("/volume1/music/c.m3u"), 0u) << "playlists are read";
    RulesSet("appliance");
    FileWrite("/volume1/music/h.mp3", "title x");
    EXPECT_EQ(IndexFileHandOver("/volume1/music/h.mp3"), 0u);
}

TEST_F(CompleteWalkTest, UnderTheOtherRulesNoReaderIsStarted) {
    RulesSet("appliance");
    FileWrite("/volume1/music/1.mp3", "title one");
    Walk();
    EXPECT_EQ(Title("music", "/volume1/music/1.mp3"), "1");
    EXPECT_TRUE(HasNoChild());
}

TEST_F(CompleteWalkTest, ReadersAreToldTheCharacterSetOfTheRun) {
    FileWrite(kSong, "charset");
    setenv("LC_ALL", "C", 1);
    Walk();
    EXPECT_EQ(Title("music", kSong), "none");
    FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\ntagcharset=\"windows-1251\"\n");
    Walk();
    EXPECT_EQ(Title("music", kSong), "CP1251");
    unsetenv("LC_ALL");
}
