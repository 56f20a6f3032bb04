// SPDX-License-Identifier: GPL-2.0-or-later
//
// How the library grew. By the rules `complete` a file counts in the month in which it was first catalogued. Otherwise nothing keeps
// that, and it counts in the month of its last status change: copying it here sets that, its time of writing may be years older.
#include <algorithm>
#include <map>

#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"
#include "tools/veluctl/report/time_chart.h"

namespace {

constexpr Month kFirstMonth = MonthOf(1990, 1); // what is older was written with a wrong clock
constexpr Month kMonthlyMax = 36;               // more columns than that are one for a year
constexpr Literal kByAdded =
    "Each file counts in the month in which it was first catalogued. For files that were here before the "
    "catalogue kept that, it is the month in which they were written or last changed, whichever was first. "
    "Files that were removed are not in it.";
constexpr Literal kByChange =
    "Each file counts in the month in which it last changed: mostly that in which it came, unless it was "
    "written, renamed or given other rights since. Files that were removed are not in it.";
constexpr Kind kGrowing[] = {kMusic, kFilms, kPictures};

struct Growth {
    Month first = 0;
    Month last = 0;
    int64_t undated = 0;
    int64_t dated = 0;
    double bytes = 0; // of those that are dated
    std::map<Month, Group> months[std::size(kGrowing)] = {};
};

std::string MonthSql(const Report &report) {
    return report.facts ? "substr(s.added, 1, 7)" : "substr(create_time, 1, 7)";
}

std::string RowsWithTimes(const Report &report, const KindFacts &kind) {
    return std::string(kind.table.text) +
           (report.facts ? " m join (select path as whose, added from file_state) s on s.whose = m.path"
                         : "");
}

Growth GrowthTake(Report *report) {
    Growth growth;
    const Month now = MonthNow(report->now);
    for (const Kind kind : kGrowing) {
        const KindFacts &facts = report->kinds[kind];
        const Tally tally =
            TallyTake(&report->tallies, {MonthSql(*report), RowsWithTimes(*report, facts), facts.condition});
        for (const Group &group : tally.groups) {
            const std::optional<Month> month = MonthParse(group.name);
            if (!month || *month < kFirstMonth || *month > now) {
                growth.undated += group.files;
                continue;
            }
            growth.months[kind][*month] = group;
            growth.first = growth.dated == 0 ? *month : std::min(growth.first, *month);
            growth.last = std::max(growth.last, *month);
            growth.dated += group.files;
            growth.bytes += group.bytes;
        }
    }
    return growth;
}

std::string SizeShow(double bytes) {
    if (bytes == 0)
        return "0";
    std::string text = SizeText(bytes);
    const size_t zero = text.find(".0");
    return zero != std::string::npos ? text.erase(zero, 2) : text;
}

std::string FilesShow(double files) {
    return CountText(static_cast<int64_t>(files));
}

TimeChart SizeChart(const Report &report, const Growth &growth) {
    TimeChart chart = {TimeForm::areas, "Size over time", {}, growth.first, 1, false, SizeShow, {}};
    for (const Kind kind : kGrowing) {
        Series series = {report.kinds[kind].anchor, {}};
        double sum = 0;
        for (Month month = growth.first; month <= growth.last; ++month) {
            const auto found = growth.months[kind].find(month);
            sum += found != growth.months[kind].end() ? found->second.bytes : 0;
            series.values.push_back(sum);
        }
        chart.series.push_back(std::move(series));
    }
    chart.description = "From " + MonthText(growth.first) + " to " + MonthText(growth.last) + " to " +
                        SizeText(growth.bytes) + ". The table below has the figures.";
    return chart;
}

TimeChart FilesChart(const Report &report, const Growth &growth) {
    const bool monthly = growth.last - growth.first < kMonthlyMax;
    const int step = monthly ? 1 : kMonthsInYear;
    const Month first = growth.first / step * step;
    TimeChart chart = {TimeForm::columns, "Files by year", {}, first, step, true, FilesShow, {}};
    if (monthly)
        chart.heading = "Files by month";
    for (const Kind kind : kGrowing) {
        Series series = {report.kinds[kind].anchor, {}};
        series.values.resize(static_cast<size_t>((growth.last - first) / step) + 1);
        for (const auto &[month, group] : growth.months[kind])
            series.values[static_cast<size_t>((month - first) / step)] += static_cast<double>(group.files);
        chart.series.push_back(std::move(series));
    }
    chart.description = CountedText(growth.dated, "file", "files") + ". The table below has the figures.";
    return chart;
}

void LegendWrite(Report *report) {
    report->html.Put("<p class=\"legend wide\">");
    for (const Kind kind : kGrowing) {
        if (report->kinds[kind].total.files > 0)
            report->html.Put("<span class=\"key ")
                .Put(report->kinds[kind].anchor)
                .Put("\"></span>")
                .Put(report->kinds[kind].title)
                .Put(" ");
    }
    report->html.Put("</p>\n");
}

// The charts for those who do not see them.
void YearsWrite(HtmlWriter *html, const Growth &growth) {
    std::map<int, Group> years;
    for (const auto &months : growth.months) {
        for (const auto &[month, group] : months) {
            years[YearOf(month)].files += group.files;
            years[YearOf(month)].bytes += group.bytes;
        }
    }
    html->Put(
        "<details class=\"card wide\"><summary>The same in figures</summary>\n<table><thead><tr>"
        "<th scope=\"col\">Year</th><th scope=\"col\" class=\"number\">Files</th><th scope=\"col\" "
        "class=\"number\">Size</th><th scope=\"col\" class=\"number\">In all</th></tr></thead><tbody>\n");
    double sum = 0;
    for (const auto &[year, group] : years) {
        sum += group.bytes;
        html->Put("<tr><th scope=\"row\">").Text(std::to_string(year)).Put("</th><td class=\"number\">");
        html->Text(CountText(group.files)).Put("</td><td class=\"number\">").Text(SizeText(group.bytes));
        html->Put("</td><td class=\"number\">").Text(SizeText(sum)).Put("</td></tr>\n");
    }
    html->Put("</tbody></table></details>\n");
}

} // namespace

void GrowthWrite(Report *report) {
    if (report->total.files == 0)
        return;
    const Growth growth = GrowthTake(report);
    HtmlWriter *html = &report->html;
    SectionBegin(report, "growth", "Growth");
    if (growth.dated == 0) {
        html->Put("<p class=\"wide\">No file has a usable time.</p>\n");
    } else if (growth.first == growth.last) {
        html->Put("<p class=\"wide\">")
            .Put(growth.undated == 0 ? Literal("All files") : Literal("All files with a usable time"))
            .Put(" are of ")
            .Text(MonthText(growth.first))
            .Put(": growth shows from the second month on.</p>\n");
    } else {
        LegendWrite(report);
        TimeChartWrite(html, SizeChart(*report, growth));
        TimeChartWrite(html, FilesChart(*report, growth));
        YearsWrite(html, growth);
    }
    html->Put("<p class=\"note wide\">").Put(report->facts ? kByAdded : kByChange).Put("</p>\n");
    if (growth.undated > 0)
        OpenListWrite(html, {CountedText(growth.undated, "file has", "files have") +
                             " no time between 1990 and now, and no place here."});
    SectionEnd(report);
}
