// SPDX-License-Identifier: GPL-2.0-or-later
//
// What changes between two walks under the rules `complete`: rules of what is left out, what lies beside files, and the names
// that folders list.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "catalogue/file_stamp.h"
#include "catalogue/known_files.h"
#include "catalogue/listed_name.h"
#include "platform/limits.h"
#include "platform/veludb.h"
#include "tests/unit/complete_changes.h"
#include "tests/unit/failing_readdir.h"

namespace fs = std::filesystem;

namespace {

using CompleteChanges = CompleteFixture;

KnownFile Known(KnownFiles *known, const std::string &path, const std::string &stamp) {
    return FileKnown(known, path, {&stamp, 1}, true);
}

} // namespace

TEST_F(CompleteChanges, ARowWithoutANumberInItsStampHolds) {
    FileWrite(kSong, "title another");
    RowSave("as it was", FileStampWithoutNumber(StampNow(kSong)));
    Walk();
    EXPECT_EQ(Title("music", kSong), "as it was");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    ++status.st_ino;
    RowSave("as it was", FileStampOf(status));
    Walk();
    EXPECT_EQ(Title("music", kSong), "another") << "another file may have taken its place";
}

TEST_F(CompleteChanges, AFilmIsNotOpenedForItsSubtitles) {
    const std::string film = "/volume1/music/film.mkv";
    FileWrite(film, "film F");
    FileWrite("/volume1/music/film.en.srt", "subtitles");
    KnownSave(film, "as it was", "tagged", "A", kMediaVideo);
    Walk();
    EXPECT_EQ(Title("video", film), "as it was");
    EXPECT_TRUE(HasNoChild());
    EXPECT_EQ(FactsOf(film), (Texts{"artist=One", "artist=Two", "subtitle=/volume1/music/film.en.srt",
                                    "subtitle_file_language=eng"}));
    EXPECT_EQ(StateField(film, "stamp"),
              StampNow(film) + "A" + FileStampBeside({"/volume1/music/film.en.srt"}));
    fs::remove("/volume1/music/film.en.srt");
    Do("d:/volume1/music/film.en.srt");
    EXPECT_EQ(Title("video", film), "as it was");
    EXPECT_EQ(StateField(film, "stamp"), StampNow(film) + "A");
    EXPECT_EQ(FactsOf(film), (Texts{"artist=One", "artist=Two"}));
}

TEST_F(CompleteChanges, RulesOfWhatIsLeftOutAreFollowedByAnyAdd) {
    for (const char *name : {"A/1.mp3", "A/2.mp3", "B/Deep/3.mp3", "C/raw/4.mp3", "C/5.tmp.mp3", "C/6.mp3"})
        FileWrite(std::string(kMusic) + '/' + name, "title x");
    Walk();
    EXPECT_EQ(MediaPaths("music").size(), 6u);
    FileWrite("/volume1/music/B/.nomedia", "");
    FileWrite("/volume1/music/C/.veluignore", "raw/\n*.tmp.mp3\n");
    Walk();
    EXPECT_EQ(MediaPaths("music"),
              (Texts{"/volume1/music/A/1.mp3", "/volume1/music/A/2.mp3", "/volume1/music/C/6.mp3"}));
    fs::remove("/volume1/music/B/.nomedia");
    fs::remove("/volume1/music/C/.veluignore");
    Walk();
    EXPECT_EQ(MediaPaths("music").size(), 6u);
    FileWrite("/volume1/music/A/.nomedia", "");
    FileWrite("/volume1/music/C/.veluignore", "*.tmp.mp3\n");
    Do("A:/volume1/music/A");
    Do("a:/volume1/music/C/5.tmp.mp3");
    EXPECT_EQ(MediaPaths("music"),
              (Texts{"/volume1/music/B/Deep/3.mp3", "/volume1/music/C/6.mp3", "/volume1/music/C/raw/4.mp3"}));
}

TEST_F(CompleteChanges, OfALargeFolderTheLastAreLookedUpOneByOne) {
    FileWrite(kSong, "title x");
    KnownSave(kSong, "as it was");
    const std::string stamp = StampNow(kSong);
    const auto insert = [&](size_t first, size_t end) {
        const DatabaseHandle db(VELUDBOpen("sqlite:/var/lib/velu/mediaserver.db"));
        const std::string sql =
            "insert into file_state (path, stamp, added, trouble) with recursive n (i) as (select " +
            std::to_string(first) + " union all select i + 1 from n where i + 1 < " + std::to_string(end) +
            ") select '/d/' || (100000 + i), '" + stamp + "', '', '' from n";
        EXPECT_EQ(VELUDBExecute(db.get(), sql.c_str(), nullptr), static_cast<int>(end - first));
    };
    insert(0, kFileStatesMax);
    const std::string last = std::to_string(100000 + kFileStatesMax - 1);
    InRun([&] {
        KnownFiles known;
        EXPECT_TRUE(Known(&known, "/d/" + last, stamp).unchanged);
        EXPECT_TRUE(known.directories.front().whole);
        EXPECT_FALSE(Known(&known, "/d/" + last + "1", stamp).may_have_row);
    });
    insert(kFileStatesMax, kFileStatesMax + 2);
    const std::string next = std::to_string(100000 + kFileStatesMax + 1);
    InRun([&] {
        KnownFiles known;
        EXPECT_TRUE(Known(&known, "/d/" + last, stamp).unchanged);
        EXPECT_FALSE(known.directories.front().whole);
        EXPECT_EQ(known.directories.front().names.size(), kFileStatesMax);
        EXPECT_TRUE(Known(&known, "/d/" + next, stamp).unchanged);
        EXPECT_FALSE(Known(&known, "/d/" + next, stamp + " s0").unchanged);
        EXPECT_FALSE(Known(&known, "/d/" + next + "1", stamp).unchanged);
    });
}

TEST_F(CompleteChanges, AFileIsThereUnderTheNameThatIsListed) {
    const std::string other = "/volume1/music/A/SONG.MP3";
    FileWrite(kSong, "title x");
    EXPECT_TRUE(IsListedName(kSong));
    EXPECT_TRUE(IsListedName(other.c_str())) << "nothing is there";
    fs::create_hard_link(kSong, other);
    EXPECT_TRUE(IsListedName(other.c_str())) << "both are";
    // As storage without case looks to whoever asks.
    ReaddirHide("SONG.MP3");
    EXPECT_TRUE(IsListedName(kSong));
    EXPECT_FALSE(IsListedName(other.c_str()));
    EXPECT_FALSE(IsListedName((other + "/").c_str()));
    Walk();
    Do("a:" + other);
    EXPECT_EQ(MediaPaths("music"), Texts{kSong});
    KnownSave(kSong, "as it was");
    ReaddirHide("song.mp3");
    Do("N:" + other + ":" + kSong);
    EXPECT_EQ(MediaPaths("music"), Texts{other});
    EXPECT_EQ(Title("music", other), "as it was");
    ReaddirHide("SONG.MP3");
    Do("d:" + other);
    EXPECT_EQ(MediaPaths("music"), Texts{});
    RulesSet("appliance");
    EXPECT_TRUE(IsListedName(other.c_str()));
    ReaddirHide("");
}
