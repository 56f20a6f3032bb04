// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names that change between two walks under the rules `complete`: rows, what was told of them and covers go along.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/bounds.h"
#include "tests/unit/complete_changes.h"

namespace fs = std::filesystem;

namespace {

using CompleteChanges = CompleteFixture;

std::string CoverOf(const std::string &path) {
    char folder[4096];
    return GetCoverFolder(path.c_str(), folder, sizeof folder) != 0 ? folder : "";
}

} // namespace

TEST_F(CompleteChanges, ARenamedFileTakesItsRowAlong) {
    const std::string moved = "/volume1/music/B/other.mp3";
    FileWrite(kSong, "picture 3000 another");
    Walk();
    ASSERT_TRUE(fs::exists(CoverOf(kSong)));
    KnownSave(kSong, "as it was");
    const std::string id = StateField(kSong, "id");
    const std::string added = StateField(kSong, "added");
    fs::create_directories("/volume1/music/B");
    fs::rename(kSong, moved);
    Do("N:" + moved + ":" + kSong);
    EXPECT_EQ(MediaPaths("music"), Texts{moved});
    EXPECT_EQ(Title("music", moved), "as it was");
    EXPECT_EQ(MediaRow("music", moved)["album"], "tagged");
    EXPECT_EQ(StateField(moved, "id") + StateField(moved, "added"), id + added);
    EXPECT_EQ(StateField(moved, "stamp"), StampNow(moved));
    EXPECT_EQ(FactsOf(moved), (Texts{"artist=One", "artist=Two"}));
    EXPECT_FALSE(fs::exists(CoverOf(kSong)));
    EXPECT_TRUE(fs::exists(CoverOf(moved) + "/3_1.jpg"));
    EXPECT_TRUE(HasNoChild());
    Walk();
    EXPECT_EQ(Title("music", moved), "as it was");
}

TEST_F(CompleteChanges, WhatCameFromANameFollowsIt) {
    const std::string moved = "/volume1/music/B/other.mp3";
    FileWrite(kSong, "title another");
    fs::create_directories("/volume1/music/B");
    const struct {
        const char *title, *album, *named, *new_title, *new_album;
    } rows[] = {
        {"song", "A", "TA", "other", "B"},          {"song", "A", "", "song", "A"},
        {"song", "A", "T", "other", "A"},           {"song", "A", "A", "song", "B"},
        {"typed", "typed", "TA", "typed", "typed"},
    };
    for (const auto &row : rows) {
        KnownSave(kSong, row.title, row.album, row.named);
        fs::rename(kSong, moved);
        Do("N:" + moved + ":" + kSong);
        EXPECT_EQ(Title("music", moved) + "/" + MediaRow("music", moved)["album"],
                  std::string(row.new_title) + "/" + row.new_album);
        EXPECT_EQ(StateField(moved, "stamp"), StampNow(moved) + row.named);
        fs::rename(moved, kSong);
        Do(std::string("N:") + kSong + ":" + moved);
    }
}

TEST_F(CompleteChanges, ARenamedFileThatIsAnotherByNowIsRead) {
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    const std::string added = StateField(kSong, "added");
    fs::remove(kSong);
    FileWrite("/volume1/music/A/new.mp3", "title new one");
    Do(std::string("N:/volume1/music/A/new.mp3:") + kSong);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/A/new.mp3"});
    EXPECT_EQ(Title("music", "/volume1/music/A/new.mp3"), "new one");
    EXPECT_EQ(StateField("/volume1/music/A/new.mp3", "added"), added);
    FileWrite(kSong, "title as read");
    KnownSave(kSong, "as it was");
    fs::rename(kSong, "/volume1/music/A/song.flac");
    Do(std::string("N:/volume1/music/A/song.flac:") + kSong);
    EXPECT_EQ(Title("music", "/volume1/music/A/song.flac"), "as read") << "the extension counts";
}

TEST_F(CompleteChanges, ARenamedTreeTakesItsRowsAlong) {
    const std::string old_tree = "/volume1/music/Old";
    const std::string new_tree = "/volume1/music/New";
    for (const char *name : {"/1.mp3", "/2.mp3", "/3.mp3", "/Deep/Old/4.mp3"})
        FileWrite(old_tree + name, "picture 3000 read");
    FileWrite(old_tree + "/gone.mp3", "title read");
    FileWrite("/volume1/music/Older/5.mp3", "title read");
    Walk();
    KnownSave(old_tree + "/1.mp3", "kept", "Old", "A");
    KnownSave(old_tree + "/2.mp3", "kept", "Old", "");
    KnownSave(old_tree + "/Deep/Old/4.mp3", "kept", "Old", "A");
    KnownSave("/volume1/music/Older/5.mp3", "kept", "Older", "A");
    const std::string id = StateField(old_tree + "/1.mp3", "id");
    const std::string added = StateField(old_tree + "/3.mp3", "added");
    fs::rename(old_tree, new_tree);
    fs::remove(new_tree + "/gone.mp3");
    FileWrite(new_tree + "/6.mp3", "title came");
    FileWrite(new_tree + "/3.mp3", "picture 3000 changed");
    Do("N:" + new_tree + "/:" + old_tree);
    EXPECT_EQ(MediaPaths("music"),
              (Texts{new_tree + "/1.mp3", new_tree + "/2.mp3", new_tree + "/3.mp3", new_tree + "/6.mp3",
                     new_tree + "/Deep/Old/4.mp3", "/volume1/music/Older/5.mp3"}));
    EXPECT_EQ(MediaPaths("directory"), (Texts{"/volume1/music", new_tree, new_tree + "/Deep",
                                              new_tree + "/Deep/Old", "/volume1/music/Older"}));
    EXPECT_EQ(Title("music", new_tree + "/1.mp3"), "kept");
    EXPECT_EQ(MediaRow("music", new_tree + "/1.mp3")["album"], "New");
    EXPECT_EQ(MediaRow("music", new_tree + "/2.mp3")["album"], "Old") << "that is what its tags say";
    EXPECT_EQ(MediaRow("music", new_tree + "/Deep/Old/4.mp3")["album"], "Old");
    EXPECT_EQ(Title("music", new_tree + "/3.mp3"), "changed");
    EXPECT_EQ(StateField(new_tree + "/1.mp3", "id"), id);
    EXPECT_EQ(StateField(new_tree + "/3.mp3", "added"), added);
    for (const char *name : {"/1.mp3", "/3.mp3", "/Deep/Old/4.mp3"}) {
        EXPECT_FALSE(fs::exists(CoverOf(old_tree + name))) << name;
        EXPECT_EQ(fs::exists(CoverOf(new_tree + name)),
                  MediaRow("music", new_tree + name)["has_cover"] == "1")
            << name;
    }
    // Once more, as after a crash, when it has been done already.
    Do("N:" + new_tree + ":" + old_tree);
    EXPECT_EQ(Title("music", new_tree + "/1.mp3"), "kept");
    EXPECT_EQ(MediaPaths("music").size(), 6u);
}

TEST_F(CompleteChanges, ATreeThatMovesIntoOneThatIsKnownTakesItsPlace) {
    FileWrite("/volume1/music/Old/1.mp3", "title read");
    FileWrite("/volume1/music/New/1.mp3", "title other");
    FileWrite("/volume1/music/New/2.avi", "film F");
    Walk();
    fs::remove("/volume1/music/New/1.mp3");
    KnownSave("/volume1/music/Old/1.mp3", "kept");
    fs::rename("/volume1/music/Old/1.mp3", "/volume1/music/New/1.mp3");
    fs::remove("/volume1/music/Old");
    Do("N:/volume1/music/New:/volume1/music/Old");
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/New/1.mp3"});
    EXPECT_EQ(MediaPaths("video"), Texts{"/volume1/music/New/2.avi"});
    EXPECT_EQ(Title("video", "/volume1/music/New/2.avi"), "F");
}

TEST_F(CompleteChanges, OfATreeThatIsThereAgainWhatHasMovedTakesItsRowsAlong) {
    const std::string old_tree = "/volume1/music/Old";
    const std::string new_tree = "/volume1/music/New";
    const Texts names = {"/1.mp3", "/Deep/2.mp3", "/Deep/er/3.mp3", "/Deep/er/4.mp3", "/Kept/5.mp3"};
    for (const std::string &name : names)
        FileWrite(old_tree + name, "picture 3000 read");
    Walk();
    std::vector<std::string> ids;
    for (const std::string &name : names)
        ids.push_back(StateField(old_tree + name, "id"));
    fs::rename(old_tree, new_tree);
    FileWrite(old_tree + "/Kept/6.mp3", "title came");
    Do("N:" + new_tree + ":" + old_tree);
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(StateField(new_tree + names[i], "id"), ids[i]) << names[i];
        EXPECT_TRUE(fs::exists(CoverOf(new_tree + names[i]))) << names[i];
    }
    EXPECT_EQ(MediaPaths("music").size(), names.size());
    EXPECT_EQ(MediaPaths("directory"),
              (Texts{"/volume1/music", new_tree, new_tree + "/Deep", new_tree + "/Deep/er",
                     new_tree + "/Kept", old_tree, old_tree + "/Kept"}));
}

// At the next rename a file is gone from where the one before has brought it.
TEST_F(CompleteChanges, WhatCameFromANameFollowsTheLastOfManyRenames) {
    const Texts places = {kSong, "/volume1/music/A/first.mp3", "/volume1/music/B/second.mp3",
                          "/volume1/music/B/third.mp3", "/volume1/music/C/last.mp3"};
    FileWrite(kSong, "title another");
    KnownSave(kSong, "song", "A", "TA");
    fs::create_directories("/volume1/music/C");
    fs::rename(kSong, places.back());
    Texts lines;
    for (size_t i = 1; i < places.size(); ++i)
        lines.push_back("N:" + places[i] + ":" + places[i - 1]);
    Do(lines);
    EXPECT_EQ(MediaPaths("music"), Texts{places.back()});
    EXPECT_EQ(Title("music", places.back()), "last");
    EXPECT_EQ(MediaRow("music", places.back())["album"], "C");
    EXPECT_EQ(StateField(places.back(), "stamp"), StampNow(places.back()) + "TA");
}

// The disk is further on than the requests.
TEST_F(CompleteChanges, RenamesInARowAreFollowed) {
    const std::string last = "/volume1/music/C/last.mp3";
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    const std::string id = StateField(kSong, "id");
    fs::create_directories("/volume1/music/C");
    fs::rename(kSong, last);
    fs::remove("/volume1/music/A");
    const Texts lines = {"N:/volume1/music/B:/volume1/music/A",
                         "N:/volume1/music/B/next.mp3:/volume1/music/B/song.mp3",
                         "N:" + last + ":/volume1/music/B/next.mp3"};
    Do(lines);
    EXPECT_EQ(MediaPaths("music"), Texts{last});
    EXPECT_EQ(Title("music", last), "as it was");
    EXPECT_EQ(StateField(last, "id"), id);
    Do(lines);
    EXPECT_EQ(StateField(last, "id"), id);
    // By then another thing is where it began.
    FileWrite("/volume1/music/C/deep/more.mp3", "title more");
    KnownSave("/volume1/music/C/deep/more.mp3", "as it was");
    fs::rename("/volume1/music/C", "/volume1/music/E");
    FileWrite("/volume1/music/C/came.mp3", "title came");
    Do({"N:/volume1/music/D:/volume1/music/C", "a:/volume1/music/C/came.mp3",
        "N:/volume1/music/E:/volume1/music/D"});
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/C/came.mp3", "/volume1/music/E/deep/more.mp3",
                                          "/volume1/music/E/last.mp3"}));
    EXPECT_EQ(StateField("/volume1/music/E/last.mp3", "id"), id);
    EXPECT_EQ(Title("music", "/volume1/music/E/deep/more.mp3"), "as it was");
    EXPECT_EQ(MediaPaths("directory"), (Texts{"/volume1/music/E", "/volume1/music/E/deep"}));
    Do("N:/volume1/music/none:/volume1/music/E");
    EXPECT_EQ(StateField("/volume1/music/E/last.mp3", "id"), id) << "it has not moved";
    fs::remove_all("/volume1/music/C");
    Do("D:/volume1/music/C");
    fs::rename("/volume1/music/E", "/volume1/music/C");
    Do("N:/volume1/music/C:/volume1/music/E");
    // And where it ends nowhere.
    fs::remove_all("/volume1/music/C");
    Do("N:/volume1/music/D:/volume1/music/C");
    EXPECT_EQ(MediaPaths("music"), Texts{});
}
