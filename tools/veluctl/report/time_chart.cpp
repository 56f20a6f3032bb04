// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/time_chart.h"

#include <algorithm>

#include "tools/veluctl/report/axis.h"

namespace {

constexpr int kValueSteps = 4;
constexpr int kMonthTicksMax = 5; // as many labels as a phone has room for
constexpr double kFull = 1000;    // both sides of the drawing, whatever it is stretched to
constexpr double kPercent = 100;
constexpr double kGap = 0.25; // of a column's room

struct Frame {
    const TimeChart *chart;
    size_t count; // of values
    double top;   // the value at the upper edge

    [[nodiscard]] double X(double at) const { return kFull * at / static_cast<double>(count); }
    [[nodiscard]] double Y(double value) const { return kFull - kFull * value / top; }
};

// The sums of the series below the one of that number, for each value.
std::vector<double> SumsBelow(const TimeChart &chart, size_t end) {
    std::vector<double> sums(chart.series.front().values.size());
    for (size_t series = 0; series < end; ++series)
        std::transform(sums.begin(), sums.end(), chart.series[series].values.begin(), sums.begin(),
                       [](double sum, double value) { return sum + value; });
    return sums;
}

std::string PeriodText(const TimeChart &chart, size_t at) {
    const Month month = chart.first + chart.step * static_cast<Month>(at);
    return chart.step == kMonthsInYear ? std::to_string(YearOf(month)) : MonthText(month);
}

void AxesWrite(HtmlWriter *html, const Frame &frame, const std::vector<double> &ticks) {
    html->Put("<g class=\"axis\">");
    for (const double tick : ticks) {
        const double y = kPercent - kPercent * tick / frame.top;
        html->Put("<line x1=\"0\" x2=\"100%\" y1=\"").Coordinate(y).Put("%\" y2=\"").Coordinate(y);
        html->Put("%\"/><text x=\"-8\" dy=\".32em\" text-anchor=\"end\" y=\"").Coordinate(y).Put("%\">");
        html->Text(frame.chart->show(tick)).Put("</text>");
    }
    const Month last = frame.chart->first + frame.chart->step * static_cast<Month>(frame.count) - 1;
    for (const Month month : MonthTicks(frame.chart->first, last, kMonthTicksMax)) {
        // The label of a column stands below its middle, that of a state below its moment.
        const double middle = frame.chart->form == TimeForm::columns ? 0.5 : 0;
        const double x = kPercent *
                         (static_cast<double>(month - frame.chart->first) / frame.chart->step + middle) /
                         static_cast<double>(frame.count);
        html->Put("<text y=\"100%\" dy=\"1.6em\" text-anchor=\"middle\" x=\"").Coordinate(x).Put("%\">");
        const bool year = month % kMonthsInYear == 0 || frame.chart->step == kMonthsInYear;
        html->Text(year ? std::to_string(YearOf(month)) : MonthText(month)).Put("</text>");
    }
    html->Put("</g>\n");
}

void PointPut(HtmlWriter *html, const Frame &frame, size_t at, double value) {
    html->Coordinate(frame.X(static_cast<double>(at))).Put(" ").Coordinate(frame.Y(value)).Put(" ");
}

// Each value holds from the end of its month on; before the first there was nothing.
void AreasWrite(HtmlWriter *html, const Frame &frame) {
    for (size_t number = 0; number < frame.chart->series.size(); ++number) {
        const std::vector<double> below = SumsBelow(*frame.chart, number);
        const std::vector<double> above = SumsBelow(*frame.chart, number + 1);
        html->Put("<path class=\"fill ").Put(frame.chart->series[number].style).Put("\" d=\"M");
        PointPut(html, frame, 0, 0);
        for (size_t at = 0; at < frame.count; ++at)
            PointPut(html, frame, at + 1, above[at]);
        for (size_t at = frame.count; at > 0; --at)
            PointPut(html, frame, at, below[at - 1]);
        html->Put("z\"/>\n");
    }
}

void ColumnsWrite(HtmlWriter *html, const Frame &frame) {
    const std::vector<double> sums = SumsBelow(*frame.chart, frame.chart->series.size());
    for (size_t at = 0; at < frame.count; ++at) {
        if (!(sums[at] > 0))
            continue;
        html->Put("<g><title>").Text(PeriodText(*frame.chart, at) + ": " + frame.chart->show(sums[at]));
        html->Put("</title>");
        double base = 0;
        for (const Series &series : frame.chart->series) {
            const double value = series.values[at];
            if (value > 0) {
                html->Put("<rect class=\"fill ").Put(series.style).Put("\" x=\"");
                html->Coordinate(frame.X(static_cast<double>(at) + kGap / 2)).Put("\" width=\"");
                html->Coordinate(frame.X(1 - kGap)).Put("\" y=\"").Coordinate(frame.Y(base + value));
                html->Put("\" height=\"").Coordinate(kFull * value / frame.top).Put("\"/>");
            }
            base += value;
        }
        html->Put("</g>\n");
    }
}

} // namespace

void TimeChartWrite(HtmlWriter *html, const TimeChart &chart) {
    if (chart.series.empty() || chart.series.front().values.empty())
        return;
    const std::vector<double> sums = SumsBelow(chart, chart.series.size());
    const std::vector<double> ticks =
        AxisTicks(*std::max_element(sums.begin(), sums.end()), kValueSteps, chart.whole);
    const Frame frame = {&chart, sums.size(), ticks.back()};
    html->Put("<article class=\"card wide\"><h3>").Put(chart.heading);
    html->Put("</h3>\n<div class=\"plot\"><svg role=\"img\" width=\"100%\" height=\"100%\"><title>");
    html->Put(chart.heading).Put("</title><desc>").Text(chart.description).Put("</desc>\n");
    AxesWrite(html, frame, ticks);
    // The drawing is stretched to the page's width, the writing is not.
    html->Put(
        "<svg width=\"100%\" height=\"100%\" viewBox=\"0 0 1000 1000\" preserveAspectRatio=\"none\">\n");
    if (chart.form == TimeForm::areas)
        AreasWrite(html, frame);
    else
        ColumnsWrite(html, frame);
    html->Put("</svg></svg></div></article>\n");
}
