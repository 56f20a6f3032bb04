// SPDX-License-Identifier: GPL-2.0-or-later
//
// Counts, sizes and playing times by kind.
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr double kFullWidth = 100;

constexpr char kSongsAndFilms[] =
    "(select path, duration from music union all select path, duration from video) as media";

// One bar, in the colours of the kinds.
void SharesWrite(Report *report) {
    HtmlWriter *html = &report->html;
    html->Put(
        "<svg class=\"shares\" viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" aria-hidden=\"true\">");
    double x = 0;
    for (const KindFacts &kind : report->kinds) {
        const double width =
            report->total.bytes > 0 ? kFullWidth * kind.total.bytes / report->total.bytes : 0;
        if (!(width > 0))
            continue;
        html->Put("<rect class=\"fill ").Put(kind.anchor).Put("\" height=\"10\" x=\"").Coordinate(x);
        html->Put("\" width=\"").Coordinate(width).Put("\"/>");
        x += width;
    }
    html->Put("</svg>\n");
}

void LineWrite(HtmlWriter *html, const Group &group, double all) {
    html->Put("<td class=\"number\">").Text(CountText(group.files)).Put("</td><td class=\"number\">");
    html->Text(SizeText(group.bytes)).Put("</td><td class=\"number\">").Text(ShareText(group.bytes, all));
    html->Put("</td><td class=\"number\">");
    if (group.seconds > 0)
        html->Text(PlayingTimeText(group.seconds));
    html->Put("</td></tr>\n");
}

} // namespace

void KindsWrite(Report *report) {
    if (report->total.files == 0)
        return;
    HtmlWriter *html = &report->html;
    SectionBegin(report, "kinds", "Overview");
    html->Put("<article class=\"card wide\"><h3>By kind</h3>\n");
    SharesWrite(report);
    html->Put("<table class=\"kinds\"><thead><tr><th scope=\"col\">Kind</th><th scope=\"col\" "
              "class=\"number\">Files</th>"
              "<th scope=\"col\" class=\"number\">Size</th><th scope=\"col\" class=\"number\">Share</th>"
              "<th scope=\"col\" class=\"number\">Time</th></tr></thead><tbody>\n");
    for (const KindFacts &kind : report->kinds) {
        if (kind.total.files == 0)
            continue;
        html->Put("<tr><th scope=\"row\"><span class=\"key ")
            .Put(kind.anchor)
            .Put("\"></span>")
            .Put(kind.title);
        html->Put("</th>");
        LineWrite(html, kind.total, report->total.bytes);
    }
    html->Put("</tbody><tfoot><tr><th scope=\"row\">All</th>");
    LineWrite(html, report->total, report->total.bytes);
    html->Put("</tfoot></table>\n<p class=\"note\">In ");
    html->Text(CountedText(report->directories, "folder", "folders")).Put(".");
    const auto too_long = "case when duration > " + std::to_string(kPlayingSecondsMax) + " then 1 else 0 end";
    int64_t odd = 0;
    for (const Kind kind : {kMusic, kFilms})
        odd +=
            NumbersTake(&report->tallies, {"sum(" + too_long + ")"}, report->kinds[kind].table.text).front();
    html->Put("</p>\n");
    if (odd > 0)
        OpenListWrite(html, PathsTake(&report->tallies,
                                      CountedText(odd, "file claims", "files claim") +
                                          " to play for more than 30 days, which is not added up.",
                                      odd,
                                      {kSongsAndFilms, "duration > " + std::to_string(kPlayingSecondsMax),
                                       "veluctl find 'duration>720:00:00'"}));
    html->Put("</article>\n");
    SectionEnd(report);
}
