// SPDX-License-Identifier: GPL-2.0-or-later
//
// Lines of the daemon's log, and which of them say the same.
#include "tools/veluctl/log/log_groups.h"

#include <gtest/gtest.h>
#include <stdlib.h>

namespace {

std::string SaysOf(const char *text) {
    const LogParts parts = LogPartsOf(text);
    return parts.says + " | " + parts.about;
}

} // namespace

TEST(LogGroups, PathsAreTakenOut) {
    EXPECT_EQ(SaysOf("/v/a b/c d.mp3 cannot be read: no sound."),
              "... cannot be read: no sound. | /v/a b/c d.mp3");
    EXPECT_EQ(SaysOf("Failed to save [/v/a [1] b/c]"), "Failed to save [...] | /v/a [1] b/c");
    EXPECT_EQ(SaysOf("The storage of /v/disk is away: its rows are kept."),
              "The storage of ... is away: its rows are kept. | /v/disk");
    EXPECT_EQ(SaysOf("Failed to open directory /v/some"), "Failed to open directory ... | /v/some");
    EXPECT_EQ(SaysOf("Failed to write /var/x. (No space)"), "Failed to write .... (No space) | /var/x");
    EXPECT_EQ(SaysOf("a rate of 3/s in 44 files"), "a rate of N/s in N files | ");
    EXPECT_EQ(SaysOf("either/or"), "either/or | ");
    EXPECT_EQ(SaysOf("/"), "... | /");
    EXPECT_EQ(SaysOf(""), " | ");
}

TEST(LogGroups, ALineAloneKeepsItsWords) {
    const std::vector<LogGroup> groups =
        LogGroupsOf({{1, "/a/1.mp3 fails"}, {2, "else 5"}, {3, "/b/2.mp3 fails"}});
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].text, "... fails");
    EXPECT_EQ(groups[0].lines, (std::vector<size_t>{0, 2}));
    EXPECT_EQ(groups[1].text, "else 5");
}

TEST(LoggedLines, OfTheJournal) {
    LoggedLine line;
    ASSERT_TRUE(LoggedLineOfJournal("1700000000.123456 box veluindexd[12]: index.c (50) A text: b", &line));
    EXPECT_EQ(line.time, 1700000000);
    EXPECT_EQ(line.text, "A text: b");
    for (const char *other : {"1700000000.1 box veluindexdx[1]: x", "1700000000.1 box veluwatchd[1]: x",
                              "-- No entries --", "", "x", "1700000000.1", "1700000000.1 box"})
        EXPECT_FALSE(LoggedLineOfJournal(other, &line)) << other;
}

TEST(LoggedLines, OfAFileWithoutAYear) {
    constexpr time_t kNewYear = 1767225600; // 2026-01-01 00:00:00 UTC
    setenv("TZ", "UTC", 1);
    tzset();
    LoggedLine line;
    ASSERT_TRUE(LoggedLineOfFile("Dec 31 23:59:59 box veluindexd[12]: x", kNewYear, &line));
    EXPECT_EQ(line.time, kNewYear - 1);
    ASSERT_TRUE(LoggedLineOfFile("Jan  1 00:00:00 box veluindexd: x", kNewYear, &line));
    EXPECT_EQ(line.time, kNewYear);
    ASSERT_TRUE(LoggedLineOfFile("2026-01-01T02:00:00.5+02:00 box veluindexd[12]: x", kNewYear, &line));
    EXPECT_EQ(line.time, kNewYear);
    EXPECT_FALSE(LoggedLineOfFile("2026-01-01T02:00:00 box", kNewYear, &line));
    unsetenv("TZ");
    tzset();
}
