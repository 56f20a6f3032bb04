// SPDX-License-Identifier: GPL-2.0-or-later
#include <gtest/gtest.h>

#include "tools/veluctl/report/bars.h"
#include "tools/veluctl/report/month_grid.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/open_list.h"
#include "tools/veluctl/report/time_chart.h"

namespace {

size_t CountOf(const std::string &text, const std::string &part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

std::string Drawn(const TimeChart &chart) {
    HtmlWriter html;
    TimeChartWrite(&html, chart);
    return html.text();
}

std::string Plain(double value) {
    return CountText(static_cast<int64_t>(value));
}

TimeChart ChartOf(TimeForm form, std::vector<double> music, std::vector<double> films) {
    return {form, "Heading", "What it shows", MonthOf(2009, 3),
            1,    true,      Plain,           {{"music", std::move(music)}, {"films", std::move(films)}}};
}

} // namespace

TEST(ReportBars, AreAsLongAsTheirValues) {
    HtmlWriter html;
    BarsWrite(&html, {"H", "N", "V", "", {{"a", 10, "10"}, {"<b>", 4, "4"}, {"none", 0, "0"}}});
    EXPECT_NE(html.text().find("width=\"100.00\""), std::string::npos);
    EXPECT_NE(html.text().find("width=\"40.00\""), std::string::npos);
    EXPECT_NE(html.text().find("width=\"0.00\""), std::string::npos);
    EXPECT_NE(html.text().find("title=\"&lt;b&gt;\">&lt;b&gt;<"), std::string::npos);
    EXPECT_EQ(html.text().find("more"), std::string::npos) << "no row has a second number";
}

TEST(ReportBars, NoneAreNothing) {
    HtmlWriter html;
    BarsWrite(&html, {"H", "N", "V"});
    EXPECT_EQ(html.text(), "");
}

TEST(ReportBars, AllZeroHaveNoLength) {
    HtmlWriter html;
    BarsWrite(&html, {"H", "N", "V", "", {{"a", 0, "0"}}});
    EXPECT_NE(html.text().find("width=\"0.00\""), std::string::npos);
    EXPECT_EQ(html.text().find("nan"), std::string::npos);
}

TEST(ReportOpenList, SaysHowManyAreNotHereAndWhatListsThem) {
    HtmlWriter html;
    OpenListWrite(&html, {"<3 files>", 3, "veluctl find 'size>1'", {{"<a>", "7"}, {"b"}}});
    EXPECT_NE(html.text().find("<summary>&lt;3 files&gt;</summary>"), std::string::npos);
    EXPECT_NE(html.text().find("<bdi>&lt;a&gt;</bdi> <span class=\"soft\">7</span>"), std::string::npos);
    EXPECT_NE(html.text().find("and 1 more. All of them: <code>veluctl find &#39;size&gt;1&#39;</code>"),
              std::string::npos);
    EXPECT_EQ(CountOf(html.text(), "<li>"), 2U);
}

TEST(ReportOpenList, NothingOpensWhereNothingIsBehind) {
    HtmlWriter html;
    OpenListWrite(&html, {"2 files are away", 2, "", {}});
    EXPECT_EQ(html.text(), "<p class=\"note\">2 files are away</p>\n");
}

TEST(ReportTimeChart, StacksColumnsAndTellsThem) {
    const std::string svg = Drawn(ChartOf(TimeForm::columns, {1, 0}, {3, 0}));
    EXPECT_NE(svg.find("<title>Mar 2009: 4</title>"), std::string::npos);
    EXPECT_EQ(CountOf(svg, "<rect"), 2u) << "nothing is drawn of an empty month";
    EXPECT_NE(svg.find("y=\"750.00\" height=\"250.00\""), std::string::npos);
    EXPECT_NE(svg.find("y=\"0.00\" height=\"750.00\""), std::string::npos);
}

TEST(ReportTimeChart, AreasStandOnEachOther) {
    const std::string svg = Drawn(ChartOf(TimeForm::areas, {1, 1}, {1, 3}));
    EXPECT_NE(svg.find("d=\"M0.00 1000.00 500.00 750.00 1000.00 750.00 1000.00 1000.00 500.00 1000.00 z"),
              std::string::npos);
    EXPECT_NE(svg.find("d=\"M0.00 1000.00 500.00 500.00 1000.00 0.00 1000.00 750.00 500.00 750.00 z"),
              std::string::npos);
}

TEST(ReportTimeChart, IsDescribedForThoseWhoDoNotSeeIt) {
    const std::string svg = Drawn(ChartOf(TimeForm::areas, {1}, {1}));
    EXPECT_NE(svg.find("role=\"img\""), std::string::npos);
    EXPECT_NE(svg.find("<title>Heading</title><desc>What it shows</desc>"), std::string::npos);
}

TEST(ReportTimeChart, NothingButZerosHasNoStrangeNumbers) {
    const std::string svg = Drawn(ChartOf(TimeForm::areas, {0, 0}, {0, 0}));
    EXPECT_EQ(svg.find("nan"), std::string::npos);
    EXPECT_EQ(svg.find("inf"), std::string::npos);
    EXPECT_EQ(Drawn(ChartOf(TimeForm::areas, {}, {})), "");
}

TEST(ReportMonthGrid, HasALineForEachYearThatHasPictures) {
    HtmlWriter html;
    MonthGridWrite(&html, {{MonthOf(1999, 12), 100}, {MonthOf(2009, 1), 1}, {MonthOf(2009, 2), 25}});
    EXPECT_EQ(CountOf(html.text(), "<tr>"), 3u);
    EXPECT_NE(html.text().find("Dec 1999: 100"), std::string::npos);
    EXPECT_EQ(CountOf(html.text(), "class=\"s5\""), 1u);
    EXPECT_EQ(CountOf(html.text(), "class=\"s3\""), 1u) << "a quarter of the most: half the way by the root";
    EXPECT_EQ(CountOf(html.text(), "class=\"s1\""), 1u) << "one picture is not none";
}

TEST(ReportMonthGrid, OldYearsAreSummedUp) {
    std::map<Month, int64_t> counts;
    for (int year = 2020; year > 2020 - static_cast<int>(kGridYearsMax) - 3; --year)
        counts[MonthOf(year, 1)] = 5;
    HtmlWriter html;
    MonthGridWrite(&html, counts);
    EXPECT_EQ(CountOf(html.text(), "<tr>"), kGridYearsMax + 1);
    EXPECT_NE(html.text().find(" 15 are from the years before."), std::string::npos);
}

TEST(ReportMonthGrid, NoPicturesAreNoGrid) {
    HtmlWriter html;
    MonthGridWrite(&html, {});
    EXPECT_EQ(html.text(), "");
}
