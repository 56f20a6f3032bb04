// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is noted of files whose covers come before their rows, and what becomes of covers that a kill has left without.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/index/cover_store.h"
#include "platform/index/run_state.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_covers.h"
#include "tests/unit/complete_fixture.h"

namespace fs = std::filesystem;

namespace {

const std::string kNotes = std::string(kCovers) + "/.noted";
constexpr char kGone[] = "/volume1/music/A/gone.mp3";

std::string NoteOf(const std::string &path) {
    return '\0' + path;
}

void CoverPut(const char *path) {
    CoverStored stored;
    const CoverPicture picture = {{.bytes = kJpegHead.size(), .held = kJpegHead}, kCoverJpeg};
    EXPECT_EQ(CoverStore(path, picture, &stored), 0);
}

bool HasCover(const std::string &path) {
    char folder[4096];
    EXPECT_EQ(GetCoverFolder(path.c_str(), folder, sizeof folder), 1);
    return fs::exists(folder);
}

class CoverNotesTest : public CompleteFixture {
protected:
    // As after the start of the daemon.
    void SettleAnew() {
        run_state.cover_notes.unsettled = true;
        VELUIndexCoversSettle();
    }
};

TEST_F(CoverNotesTest, AFileIsNotedUntilItsRowIsCommitted) {
    FileWrite(kSong, "picture 70000 T");
    InRun([] {
        IndexDirWalk(kMusic, kIndexAdd, kWalkMedia);
        EXPECT_EQ(FileRead(kNotes), NoteOf(kSong));
        VELUIndexRunFlush();
        EXPECT_EQ(FileRead(kNotes), "");
        CoverPut(kGone);
        VELUIndexRunFlush();
        EXPECT_EQ(FileRead(kNotes), NoteOf(kGone)) << "no batch has its row";
    });
    EXPECT_EQ(FileRead(kNotes), NoteOf(kGone));
    VELUIndexCoversSettle();
    EXPECT_FALSE(fs::exists(kNotes));
    EXPECT_FALSE(HasCover(kGone));
    EXPECT_TRUE(HasCover(kSong));
}

TEST_F(CoverNotesTest, ARunThatEndsWellLeavesNoNotes) {
    FileWrite(kSong, "picture 70000 T");
    Walk();
    EXPECT_TRUE(HasCover(kSong));
    EXPECT_FALSE(fs::exists(kNotes));
}

TEST_F(CoverNotesTest, WhatAKillHasLeftGoesWhereNoRowHasIt) {
    FileWrite(kSong, "picture 70000 T");
    Walk();
    InRun([] { CoverPut(kGone); });
    const std::string torn = std::string(1, '\0') + "/volume1/mu";
    FileWrite(kNotes, NoteOf(kGone) + NoteOf(kSong) + NoteOf(std::string(9000, 'x')) + NoteOf("") + torn);
    Walk();
    EXPECT_TRUE(fs::exists(kNotes)) << "until it is known that no request waits";
    SettleAnew();
    EXPECT_FALSE(fs::exists(kNotes));
    EXPECT_FALSE(HasCover(kGone));
    EXPECT_TRUE(HasCover(kSong));
}

TEST_F(CoverNotesTest, NotesOfARunThatWasBrokenOffOutliveAnother) {
    FileWrite(kSong, "picture 70000 T");
    InRun([] { CoverPut(kGone); });
    Walk();
    EXPECT_EQ(FileRead(kNotes), NoteOf(kGone));
    SettleAnew();
    EXPECT_FALSE(HasCover(kGone));
    EXPECT_TRUE(HasCover(kSong));
}

TEST_F(CoverNotesTest, WhatIsNoFileIsLeftAlone) {
    FileWrite("/tmp/other", NoteOf(kSong));
    FileWrite(kSong, "picture 70000 T");
    Walk();
    fs::create_symlink("/tmp/other", kNotes);
    SettleAnew();
    FileWrite(kSong, "altered 70000 T");
    Walk();
    EXPECT_TRUE(HasCover(kSong));
    EXPECT_EQ(FileRead("/tmp/other"), NoteOf(kSong));
    fs::remove(kNotes);
    fs::create_directory(kNotes);
    SettleAnew();
    EXPECT_TRUE(fs::is_directory(kNotes));
    fs::remove(kNotes);
}

} // namespace
