// SPDX-License-Identifier: GPL-2.0-or-later
//
// What gives values to the files beside it, by the rules `complete`, and cannot be looked at for a while.
#include <errno.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/unit/complete_covers.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/failing_readdir.h"

namespace fs = std::filesystem;

namespace {

class CompleteUnseen : public CompleteFixture {
protected:
    ~CompleteUnseen() override { ReaddirFailAt("", 0); }
};

const std::string kCover = "/volume1/music/A/cover.jpg";
const std::string kFilm = "/volume1/music/A/film.mkv";
const std::string kSubtitle = "/volume1/music/A/film.srt";

std::vector<std::string> SubtitlesOfFilm() {
    std::vector<std::string> facts = FactsOf(kFilm);
    std::erase_if(facts, [](const std::string &fact) { return !fact.starts_with("subtitle="); });
    return facts;
}

} // namespace

TEST_F(CompleteUnseen, ACoverStaysWhereItsDirectoryBreaksOff) {
    OldFileWrite(kSong, "title T");
    OldFileWrite(kCover, kJpegHead);
    Walk();
    fs::remove(kCover);
    for (const char *script : {"title T", "title changed"}) {
        OldFileWrite(kSong, script);
        ReaddirFailAt("song.mp3", EIO);
        Ask('a', kSong);
        EXPECT_EQ(CoverOf(kSong), kJpegHead) << "there may be another one";
        EXPECT_EQ(MediaRow("file_state", kSong)["stamp"], "") << "it is looked for again";
        ReaddirFailAt("", 0);
    }
    EXPECT_EQ(Title("music", kSong), "changed");
    Ask('a', kSong);
    EXPECT_EQ(CoverOf(kSong), "");
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CompleteUnseen, NoCoverIsMadeUp) {
    OldFileWrite(kSong, "title T");
    OldFileWrite(kCover, kJpegHead);
    ReaddirFailAt("cover.jpg", EIO);
    Ask('a', kSong);
    EXPECT_EQ(Title("music", kSong), "T");
    EXPECT_EQ(CoverOf(kSong), "");
    ReaddirFailAt("", 0);
    Ask('a', kSong);
    EXPECT_EQ(CoverOf(kSong), kJpegHead);
}

TEST_F(CompleteUnseen, SubtitlesStayWhereTheirDirectoryBreaksOff) {
    OldFileWrite(kFilm, "film F");
    OldFileWrite(kSubtitle, "");
    Walk();
    ASSERT_EQ(SubtitlesOfFilm(), std::vector<std::string>{"subtitle=" + kSubtitle});
    for (const char *name : {"film.mkv", "film.srt"}) {
        ReaddirFailAt(name, EIO);
        Ask('a', kFilm);
        EXPECT_EQ(SubtitlesOfFilm(), std::vector<std::string>{"subtitle=" + kSubtitle}) << name;
    }
    ReaddirFailAt("", 0);
    fs::remove(kSubtitle);
    Ask('a', kFilm);
    EXPECT_EQ(SubtitlesOfFilm(), std::vector<std::string>{});
}
