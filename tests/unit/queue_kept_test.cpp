// SPDX-License-Identifier: GPL-2.0-or-later
//
// The kept file: what is written comes back, whatever stood at its place.
#include "daemon/queue_kept.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/clock.h"
#include "tests/unit/test_files.h"

namespace {

using Texts = std::vector<std::string>;

int64_t clock_now;

class QueueKept : public testing::Test {
protected:
    QueueKept() {
        SandboxReset();
        kept_clock = [] { return clock_now; };
        clock_now = MonotonicMilliseconds();
        Write({}); // ages count from now on
    }
    ~QueueKept() override {
        clock_now = MonotonicMilliseconds();
        Write({});
        kept_clock = MonotonicMilliseconds;
    }

    static void Write(const Texts &lines) {
        KeptWriter writer;
        for (const std::string &line : lines)
            writer.Add(0, line);
        ASSERT_TRUE(writer.Commit());
    }

    // The lines of the file as "SECONDS LINE".
    static Texts Read(size_t damaged = 0) {
        Texts lines;
        KeptReader reader;
        if (!reader.Open())
            return {strerror(errno)};
        for (int time = 0; time < 2; ++time) {
            lines.clear();
            reader.Rewind();
            for (KeptLine kept; reader.Next(&kept);)
                lines.push_back(std::to_string(kept.seconds) + " " + std::string(kept.line));
            EXPECT_EQ(reader.damaged(), damaged);
            EXPECT_EQ(reader.failure(), 0);
        }
        return lines;
    }
};

TEST_F(QueueKept, LinesComeBackInTheirOrder) {
    Write({"a:/volume1/music/b.mp3", "N:/b:/a", "A:/a path with blanks  and \xff", "T:music"});
    EXPECT_EQ(FileRead(kKeptFile),
              "0 a:/volume1/music/b.mp3\n0 N:/b:/a\n0 A:/a path with blanks  and \xff\n0 T:music\n");
    EXPECT_EQ(Read(), (Texts{"0 a:/volume1/music/b.mp3", "0 N:/b:/a", "0 A:/a path with blanks  and \xff",
                             "0 T:music"}));
    struct stat status;
    ASSERT_EQ(stat(kKeptFile, &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
    EXPECT_FALSE(std::filesystem::exists(kKeptFileNew));
}

TEST_F(QueueKept, WithoutLinesThereIsNoFile) {
    Write({"a:/x"});
    EXPECT_TRUE(std::filesystem::exists(kKeptFile));
    Write({});
    EXPECT_FALSE(std::filesystem::exists(kKeptFile));
    KeptReader reader;
    EXPECT_FALSE(reader.Open());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(QueueKept, WhatIsNotPutInItsPlaceLeavesNothing) {
    Write({"a:/old"});
    {
        KeptWriter writer;
        writer.Add(0, "a:/new");
        EXPECT_TRUE(std::filesystem::exists(kKeptFileNew));
    }
    EXPECT_FALSE(std::filesystem::exists(kKeptFileNew));
    EXPECT_EQ(Read(), Texts{"0 a:/old"});
}

TEST_F(QueueKept, TheLongestLineIsWhole) {
    const std::string line = "a:/" + std::string(kQueueLineMax - 1 - 3, 'x');
    KeptWriter writer;
    writer.Add(INT64_MAX, line);
    writer.Add(5, "a:/y");
    ASSERT_TRUE(writer.Commit());
    EXPECT_EQ(Read(), (Texts{"9223372036854775807 " + line, "5 a:/y"}));
}

TEST_F(QueueKept, OfEqualLinesTheFirstStaysWithItsAge) {
    KeptWriter writer;
    writer.Add(7, "a:/x");
    writer.Add(5, "d:/x");
    writer.Add(0, "a:/x");
    writer.Add(0, "d:/x");
    writer.Add(0, "a:/x ");
    EXPECT_EQ(writer.count(), 3U);
    ASSERT_TRUE(writer.Commit());
    EXPECT_EQ(Read(), (Texts{"7 a:/x", "5 d:/x", "0 a:/x "}));
}

// Behind a rename the same words are about another file, and behind an emptied table about another row.
TEST_F(QueueKept, ARenameAndAnEmptiedTableSetEqualLinesApart) {
    Write({"a:/x", "N:/y:/x", "a:/x", "N:/y:/x", "a:/x", "T:music", "a:/x", "T:music", "T:music", "a:/x"});
    EXPECT_EQ(Read(), (Texts{"0 a:/x", "0 N:/y:/x", "0 a:/x", "0 T:music", "0 a:/x", "0 T:music", "0 a:/x"}));
}

TEST_F(QueueKept, EqualLinesFarApartAreFoundInTheFile) {
    KeptWriter writer;
    for (int time = 0; time < 2; ++time)
        for (int i = 0; i < 20000; ++i)
            writer.Add(0, "a:/volume1/music/" + std::to_string(i) + ".mp3");
    EXPECT_EQ(writer.count(), 20000U);
    ASSERT_TRUE(writer.Commit());
    EXPECT_EQ(Read().size(), 20000U);
    EXPECT_EQ(Read().back(), "0 a:/volume1/music/19999.mp3");
}

TEST_F(QueueKept, DamageCostsItselfOnly) {
    const std::string damaged[] = {
        "x",       "",       "12",      "12 ",    " a:/x",    "-1 a:/x",  "1a:/x",
        "1  a:/x", "1 Z:/x", "1 aa:/x", "1 N:/x", "0x1 a:/x", "\xff\xfe", "99999999999999999999 a:/x"};
    std::string content = "1 a:/first\n";
    for (const std::string &line : damaged)
        content += line + "\n";
    content += std::string("3 a:/zero\0byte\n", 15) + "2 a:/last\n";
    FileWrite(kKeptFile, content);
    EXPECT_EQ(Read(std::size(damaged) + 1), (Texts{"1 a:/first", "2 a:/last"}));
}

// What has lost its end may have been about another file.
TEST_F(QueueKept, ALastLineWithoutItsEndIsDamage) {
    FileWrite(kKeptFile, "1 a:/first\n2 a:/las");
    EXPECT_EQ(Read(1), (Texts{"1 a:/first"}));
}

TEST_F(QueueKept, ALineThatIsTooLongIsDamage) {
    FileWrite(kKeptFile, "1 a:/" + std::string(3 * kQueueLineMax, 'x') + "\n2 a:/last\n");
    EXPECT_EQ(Read(3), (Texts{"2 a:/last"}));
}

TEST_F(QueueKept, AgesGrowByTheDaemonsTimeAndLoseNothing) {
    for (int i = 0; i < 10; ++i) {
        clock_now += 1'900;
        KeptReader old;
        KeptWriter writer;
        KeptLine kept{0, "a:/x"};
        if (i > 0) {
            ASSERT_TRUE(old.Open());
            ASSERT_TRUE(old.Next(&kept));
        }
        writer.Add(i > 0 ? kept.seconds + writer.elapsed() : 0, kept.line);
        ASSERT_TRUE(writer.Commit());
    }
    // Nine times 1.9 seconds, and what was left of a second when it was written first.
    const int64_t seconds = std::stoll(Read().front());
    EXPECT_GE(seconds, 17);
    EXPECT_LE(seconds, 18);
}

TEST_F(QueueKept, WhatAKilledDaemonLeftIsReplaced) {
    Write({"a:/old"});
    FileWrite(kKeptFileNew, "torn");
    EXPECT_EQ(Read(), (Texts{"0 a:/old"}));
    Write({"a:/new"});
    EXPECT_EQ(Read(), (Texts{"0 a:/new"}));
    EXPECT_FALSE(std::filesystem::exists(kKeptFileNew));
}

TEST_F(QueueKept, AFileThatCannotBeWrittenLeavesTheOldOne) {
    Write({"a:/old"});
    std::filesystem::create_directories(std::string(kKeptFileNew) + "/in the way");
    KeptWriter writer;
    writer.Add(0, "a:/new");
    writer.Add(0, "a:/newer");
    EXPECT_EQ(writer.count(), 2U) << "it is not as if there were nothing to keep";
    EXPECT_FALSE(writer.Commit());
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(Read(), (Texts{"0 a:/old"}));
    std::filesystem::remove_all(kKeptFileNew);
}

TEST_F(QueueKept, AFolderAtItsPlaceIsNoFile) {
    std::filesystem::create_directories(std::string(kKeptFile) + "/in the way");
    KeptReader reader;
    EXPECT_FALSE(reader.Open());
    EXPECT_EQ(errno, EISDIR);
    KeptWriter writer;
    writer.Add(0, "a:/x");
    EXPECT_FALSE(writer.Commit());
    EXPECT_FALSE(std::filesystem::exists(kKeptFileNew));
    std::filesystem::remove_all(kKeptFile);
}

} // namespace
