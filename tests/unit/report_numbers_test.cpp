// SPDX-License-Identifier: GPL-2.0-or-later
#include <gtest/gtest.h>
#include <math.h>

#include "tools/veluctl/report/axis.h"
#include "tools/veluctl/report/number_text.h"

namespace {

#define S NARROW_SPACE

using Ticks = std::vector<double>;

} // namespace

TEST(ReportNumbers, ThousandsAreSetOff) {
    EXPECT_EQ(CountText(0), "0");
    EXPECT_EQ(CountText(999), "999");
    EXPECT_EQ(CountText(1000), "1" S "000");
    EXPECT_EQ(CountText(-1234567), "-1" S "234" S "567");
    EXPECT_EQ(CountText(-123), "-123");
    EXPECT_EQ(CountedText(1, "file", "files"), "1 file");
    EXPECT_EQ(CountedText(0, "file", "files"), "0 files");
}

TEST(ReportNumbers, SizesHaveUnits) {
    EXPECT_EQ(SizeText(0), "0" S "B");
    EXPECT_EQ(SizeText(999), "999" S "B");
    EXPECT_EQ(SizeText(12345), "12.3" S "kB");
    EXPECT_EQ(SizeText(99949), "99.9" S "kB");
    EXPECT_EQ(SizeText(99950), "100" S "kB");
    EXPECT_EQ(SizeText(999499), "999" S "kB");
    EXPECT_EQ(SizeText(999500), "1.0" S "MB") << "no thousand of a unit";
    EXPECT_EQ(SizeText(-1), "0" S "B");
    EXPECT_EQ(SizeText(NAN), "0" S "B");
    EXPECT_EQ(SizeText(INFINITY), "0" S "B");
    EXPECT_EQ(SizeText(2.5e15), "2.5" S "PB");
}

TEST(ReportNumbers, PlayingTimes) {
    EXPECT_EQ(PlayingTimeText(0), "0" S "min");
    EXPECT_EQ(PlayingTimeText(NAN), "0" S "min");
    EXPECT_EQ(PlayingTimeText(59), "<" S "1" S "min");
    EXPECT_EQ(PlayingTimeText(60), "1" S "min");
    EXPECT_EQ(PlayingTimeText(3599), "59" S "min");
    EXPECT_EQ(PlayingTimeText(3600), "1.0" S "h");
    EXPECT_EQ(PlayingTimeText(9.96 * 3600), "10" S "h");
    EXPECT_EQ(PlayingTimeText(1234 * 3600), "1" S "234" S "h");
    EXPECT_EQ(PlayingTimeText(1e300), "9" S "000" S "000" S "000" S "000" S "000" S "h");
}

TEST(ReportNumbers, SharesNeverLookLikeNoneOrAllUnlessTheyAre) {
    EXPECT_EQ(ShareText(0, 0), "0" S "%");
    EXPECT_EQ(ShareText(0, 5), "0" S "%");
    EXPECT_EQ(ShareText(1, 5000), "<" S "1" S "%");
    EXPECT_EQ(ShareText(1, 3), "33" S "%");
    EXPECT_EQ(ShareText(999, 1000), "99" S "%");
    EXPECT_EQ(ShareText(7, 7), "100" S "%");
}

TEST(ReportNumbers, MonthsAreReadFromBothFormsOfADate) {
    EXPECT_EQ(MonthParse("2009-03-07 08:09:10"), MonthOf(2009, 3));
    EXPECT_EQ(MonthParse("2009-3-7"), MonthOf(2009, 3));
    EXPECT_EQ(MonthParse("2009-12"), MonthOf(2009, 12));
    for (const char *text : {"", "2009", "2009-", "2009-0", "2009-13", "2009-003", "99999-1", "-209-01",
                             "209-01", "2009:03:07", "Sun Sep", "2009-1x"})
        EXPECT_FALSE(MonthParse(text)) << text;
    EXPECT_EQ(MonthText(MonthOf(2009, 1)), "Jan 2009");
    EXPECT_EQ(MonthText(MonthOf(2009, 12)), "Dec 2009");
}

TEST(ReportNumbers, AxesHaveRoundNumbers) {
    EXPECT_EQ(AxisTicks(10, 4, true), (Ticks{0, 5, 10}));
    EXPECT_EQ(AxisTicks(7, 4, true), (Ticks{0, 2, 4, 6, 8}));
    EXPECT_EQ(AxisTicks(400, 4, true), (Ticks{0, 100, 200, 300, 400}));
    EXPECT_EQ(AxisTicks(401, 4, true), (Ticks{0, 200, 400, 600}));
    EXPECT_EQ(AxisTicks(1, 4, true), (Ticks{0, 1})) << "no halves of files";
    EXPECT_EQ(AxisTicks(1, 4, false).size(), 3u);
}

TEST(ReportNumbers, AnAxisOfNothingIsOneAllTheSame) {
    for (const double max : {0.0, -5.0, static_cast<double>(NAN), static_cast<double>(INFINITY)})
        EXPECT_EQ(AxisTicks(max, 4, true), (Ticks{0, 1})) << max;
    EXPECT_GE(AxisTicks(1e300, 4, false).back(), 1e300);
}

TEST(ReportNumbers, AxesOfTimeHaveAsManyLabelsAsAPhoneHasRoomFor) {
    EXPECT_EQ(MonthTicks(MonthOf(2009, 2), MonthOf(2009, 4), 5),
              (std::vector<Month>{MonthOf(2009, 2), MonthOf(2009, 3), MonthOf(2009, 4)}));
    EXPECT_EQ(MonthTicks(MonthOf(2009, 2), MonthOf(2012, 4), 5),
              (std::vector<Month>{MonthOf(2010, 1), MonthOf(2011, 1), MonthOf(2012, 1)}));
    for (int years = 0; years < 200; ++years)
        EXPECT_LE(MonthTicks(MonthOf(1900, 5), MonthOf(1900 + years, 6), 5).size(), 5u) << years;
}
