// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is done again by the rules `complete` where the disk may lack what was written last: rows are there, and perhaps not
// the covers that they speak of.
#include <sys/stat.h>

#include "catalogue/file_stamp.h"
#include "daemon/queue.h"
#include "daemon/queue_kept.h"
#include "daemon/queue_rename.h"
#include "daemon/queue_start.h"
#include "platform/index/media_move.h"
#include "tests/unit/complete_fixture.h"

namespace fs = std::filesystem;

namespace {

constexpr char kPlain[] = "/volume1/music/A/plain.mp3";
constexpr char kWalkLine[] = "A:/volume1/music\n";
constexpr char kNow[] = "/tmp/this_start";
constexpr char kNoted[] = "/var/lib/velu/started";

// A song with a cover and one without, both as they were read long ago; the cover has not come to the disk.
class CompleteDoubt : public CompleteFixture {
protected:
    CompleteDoubt() {
        machine_files = {kNow, kNoted};
        FileWrite(kNow, "second\n");
        FileWrite(kSong, "picture 3000 read");
        FileWrite(kPlain, "title read");
        RowsSave();
    }
    ~CompleteDoubt() override {
        machine_files = {};
        fs::remove(kNow);
    }

    static void RowsSave() {
        for (const char *path : {kSong, kPlain}) {
            struct stat status;
            ASSERT_EQ(stat(path, &status), 0);
            const std::string stamp = FileStampOf(status) + (path == kSong ? kStampOwnCover : "");
            MediaInfo record = {};
            snprintf(record.path, sizeof record.path, "%s", path);
            snprintf(record.title, sizeof record.title, "as it was");
            record.has_cover = path == kSong ? 1 : 0;
            InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kMediaMusic, &record, {.stamp = stamp}), 0); });
        }
    }

    static std::string CoverOf(const char *path) {
        char folder[4096];
        return GetCoverFolder(path, folder, sizeof folder) != 0 ? std::string(folder) + "/3_1.jpg" : "";
    }

    // The titles of the two, since the rows were saved last.
    static std::string Titles() { return Title("music", kSong) + ", " + Title("music", kPlain); }
    static std::string TitlesAfter(const char *file, const std::string &lines) {
        RowsSave();
        FileWrite(file, lines);
        IndexQueueProcess(file == kKeptFile ? QueueOccasion::again : QueueOccasion::queued);
        return Titles();
    }
};

constexpr char kBothKept[] = "as it was, as it was";
constexpr char kCoveredRead[] = "read, as it was";

} // namespace

TEST_F(CompleteDoubt, FilesWithCoversAreOpenedThen) {
    Walk();
    EXPECT_EQ(Titles(), kBothKept);
    {
        const FileTrustScope doubted(FileTrust::all_but_covers);
        Walk();
    }
    EXPECT_EQ(Titles(), kCoveredRead);
    EXPECT_EQ(fs::file_size(CoverOf(kSong)), 3000u);
}

TEST_F(CompleteDoubt, ACopyThatWasLeftIsDoubtedWhereTheMachineHasBeenStartedSince) {
    EXPECT_EQ(TitlesAfter(kQueueWorkingCopy, kWalkLine), kCoveredRead) << "nothing was noted";
    EXPECT_FALSE(fs::exists(kNoted));
    EXPECT_EQ(TitlesAfter(kQueueFile, kWalkLine), kBothKept) << "nothing is done again";
    EXPECT_EQ(FileRead(kNoted), "second\n");
    EXPECT_EQ(TitlesAfter(kQueueWorkingCopy, kWalkLine), kBothKept) << "the program was killed, no more";
    FileWrite(kNow, "third\n");
    EXPECT_EQ(TitlesAfter(kQueueWorkingCopy, kWalkLine), kCoveredRead);
    EXPECT_EQ(TitlesAfter(kQueueWorkingCopy, kWalkLine), kCoveredRead) << "killed while that was made good";
    fs::remove(kNow);
    TitlesAfter(kQueueFile, kWalkLine);
    EXPECT_EQ(FileRead(kNoted), "second\n");
    EXPECT_EQ(TitlesAfter(kQueueWorkingCopy, kWalkLine), kCoveredRead) << "nobody can tell";
}

TEST_F(CompleteDoubt, WhatWasKeptIsDoubted) {
    EXPECT_EQ(TitlesAfter(kQueueFile, kWalkLine), kBothKept);
    EXPECT_EQ(TitlesAfter(kKeptFile, std::string("0 ") + kWalkLine), kCoveredRead);
    EXPECT_FALSE(fs::exists(kKeptFile));
}

TEST_F(CompleteDoubt, ACopyThatCouldNotBeDoneWithIsDoubted) {
    FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\nmediadb=\"sqlite:/proc/none/m.db\"\n");
    fs::create_directories(std::string(kKeptFileNew) + "/in the way");
    FileWrite(kQueueFile, kWalkLine);
    EXPECT_TRUE(IndexQueueProcess(QueueOccasion::queued).waits);
    EXPECT_TRUE(fs::exists(kQueueWorkingCopy));
    EXPECT_FALSE(fs::exists(kNoted));
    fs::remove_all(kKeptFileNew);
    FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\n");
    IndexQueueProcess(QueueOccasion::queued);
    EXPECT_EQ(Titles(), kCoveredRead);
}

TEST_F(CompleteDoubt, NothingIsNotedByOtherRules) {
    RulesSet("appliance");
    FileWrite(kQueueFile, kWalkLine);
    IndexQueueProcess(QueueOccasion::queued);
    EXPECT_FALSE(fs::exists(kNoted));
}

// Rows are ahead of covers, which are still where they were.
TEST_F(CompleteDoubt, CoversFollowARenamedTreeThatIsAheadOfThem) {
    FileWrite(CoverOf("/volume1/music/Old/song.mp3"), "the cover");
    EXPECT_EQ(MediaTreeMove("/volume1/music/A", "/volume1/music/Old"), 0);
    EXPECT_FALSE(fs::exists(CoverOf("/volume1/music/Old/song.mp3")));
    EXPECT_EQ(FileRead(CoverOf(kSong)), "the cover");
}

TEST_F(CompleteDoubt, NoCoverStaysWhereARenamedFileWas) {
    FileWrite(CoverOf("/volume1/music/A/old.mp3"), "the cover");
    InRun([] { PathRename(kSong, "/volume1/music/A/old.mp3"); });
    EXPECT_FALSE(fs::exists(CoverOf("/volume1/music/A/old.mp3")));
}
