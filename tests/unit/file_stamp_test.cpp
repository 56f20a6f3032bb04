// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a file's stamp says of it, and which changes it tells of.
#include "catalogue/file_stamp.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "reader/protocol/message.h"
#include "tests/unit/complete_changes.h"
#include "tests/unit/test_files.h"

namespace {

const std::string kRevision = "r" + std::to_string(kReaderRevision);

} // namespace

TEST(FileStamp, ATimeThatIsTooNewGivesNone) {
    FileWrite(kSong, "x");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    const time_t now = status.st_ctim.tv_sec;
    for (const time_t near : {now - kStampSeconds + 1, now, now + kStampSeconds - 1})
        EXPECT_EQ(FileStampOfRead(kSong, status, near), "");
    EXPECT_EQ(FileStampOfRead(kSong, status, now + kStampSeconds), FileStampOf(status));
    EXPECT_EQ(FileStampOfRead(kSong, status, now - kStampSeconds), FileStampOf(status)) << "a clock set back";
    EXPECT_EQ(FileStampOfRead("/volume1/none", status, now + kStampSeconds), "");
    struct stat other = status;
    ++other.st_size;
    EXPECT_EQ(FileStampOfRead(kSong, other, now + kStampSeconds), "") << "it has changed since";
}

TEST(FileStamp, TellsOfEachChangeAndOfTheAge) {
    FileWrite(kSong, "x");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    const std::string stamp = FileStampOf(status);
    EXPECT_TRUE(FileStampHasAge(stamp, status));
    for (const auto &change :
         {+[](struct stat *of) { of->st_mtim.tv_nsec ^= 1; }, +[](struct stat *of) { ++of->st_mtim.tv_sec; },
          +[](struct stat *of) { of->st_size = 10; }}) {
        struct stat other = status;
        change(&other);
        EXPECT_NE(FileStampOf(other), stamp);
        EXPECT_FALSE(FileStampHasAge(stamp, other));
    }
    struct stat renamed = status;
    renamed.st_ctim.tv_nsec ^= 1;
    EXPECT_NE(FileStampOf(renamed), stamp);
    EXPECT_TRUE(FileStampHasAge(stamp, renamed));
    EXPECT_FALSE(FileStampHasAge("", status));
}

TEST(FileStamp, HasItsWords) {
    struct stat status = {};
    status.st_size = 12;
    status.st_mtim = {1000, 5};
    status.st_ctim = {-1, 999'999'999};
    status.st_ino = 77;
    const std::string stamp = FileStampOf(status);
    EXPECT_EQ(stamp, "12 1000.000000005 -1.999999999 77 " + kRevision);
    EXPECT_EQ(FileStampWithoutNumber(stamp), "12 1000.000000005 -1.999999999 - " + kRevision);
    EXPECT_TRUE(FileStampCountsNumber(stamp));
    EXPECT_FALSE(FileStampCountsNumber(FileStampWithoutNumber(stamp)));
    const std::string whole = stamp + FileStampNamed({true, true}) + " +3 4.000000000  s00aa";
    EXPECT_EQ(whole, "12 1000.000000005 -1.999999999 77 " + kRevision + "TA +3 4.000000000  s00aa");
    EXPECT_EQ(FileStampLook(whole), "12 1000.000000005 -1.999999999 77  +3 4.000000000  s00aa");
    EXPECT_TRUE(FromNameOf(whole).title && FromNameOf(whole).album);
    EXPECT_FALSE(FromNameOf(stamp).title || FromNameOf(stamp).album);
    EXPECT_TRUE(FromNameOf(stamp + "A").album && !FromNameOf(stamp + "A").title);
}

TEST(FileStamp, HoldsAsFarAsItsWordsAreTheSame) {
    const std::string then = "12 1000.000000005 2000.000000000 77 " + kRevision;
    const struct {
        std::string now;
        StampHolds holds;
        bool moved;
    } looks[] = {
        {"12 1000.000000005 2000.000000000 77 " + kRevision, StampHolds::yes, true},
        {"12 1000.000000005 2000.000000000 77 " + kRevision + " s00", StampHolds::own, true},
        {"12 1000.000000005 2000.000000000 78 " + kRevision, StampHolds::numbers, false},
        {"12 1000.000000005 2000.000000001 77 " + kRevision, StampHolds::no, true},
        {"12 1000.000000006 2000.000000000 77 " + kRevision, StampHolds::no, false},
        {"13 1000.000000005 2000.000000000 77 " + kRevision, StampHolds::no, false},
    };
    for (const auto &look : looks) {
        EXPECT_EQ(FileStampHolds(then, look.now), look.holds) << look.now;
        EXPECT_EQ(FileStampHoldsMoved(then, look.now), look.moved) << look.now;
    }
    const std::string without = FileStampWithoutNumber(then);
    EXPECT_EQ(FileStampHolds(without, then), StampHolds::yes);
    EXPECT_TRUE(FileStampHoldsMoved(without, then));
    for (const char *other :
         {"", "1", "another stamp", "12 1000.000000005 2000.000000000 77",
          "12 1000.000000005 2000.000000000 77 r99", "12 1000.000000005 2000.000000000 77 rx"}) {
        EXPECT_EQ(FileStampHolds(other, then), StampHolds::no) << other;
        EXPECT_FALSE(FileStampHoldsMoved(other, then)) << other;
        EXPECT_EQ(FileStampLook(other), "") << other;
        EXPECT_FALSE(FileStampIsOlder(other)) << other;
    }
    const std::string older = "12 1000.000000005 2000.000000000 77 r0TA";
    EXPECT_EQ(FileStampHolds(older, then), StampHolds::yes) << "it is read when its turn comes";
    EXPECT_TRUE(FileStampIsOlder(older));
    EXPECT_FALSE(FileStampIsOlder(then));
}

TEST(FileStamp, ANumberThatChangesBetweenTwoLooksDoesNotCount) {
    FileWrite(kSong, "x");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    ++status.st_ino;
    const time_t later = status.st_ctim.tv_sec + 100;
    bool changed = true;
    EXPECT_EQ(FileStampOfRead(kSong, status, later, &changed), FileStampWithoutNumber(StampNow(kSong)));
    EXPECT_FALSE(changed);
    ++status.st_size;
    EXPECT_EQ(FileStampOfRead(kSong, status, later, &changed), "");
    EXPECT_TRUE(changed);
}
