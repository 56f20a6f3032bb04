// SPDX-License-Identifier: GPL-2.0-or-later
//
// What veluctl check finds.
#include <algorithm>

#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr size_t kPathsMax = 20;

struct Problem {
    const char *name;
    Literal title;
    Literal advice;
};
constexpr Problem kProblems[] = {
    {kShareAway, "Share is away",
     "A share that rows belong to is not there. Its rows are kept until it is back."},
    {kRowWithoutFile, "Row without file", "Catalogued, but gone from the disk."},
    {kFileWithoutRow, "File without row", "On the disk, but not catalogued."},
    {kStaleCover, "Stale cover", "A row whose picture is gone, or a picture whose row is gone."},
    {kUnreadable, "Unreadable", "Whoever made this page may not read these, or the disk cannot."},
    {kStateWithoutRow, "State without row", "The catalogue keeps what it knows of a file, but no row of it."},
    {kRowWithoutState, "Row without state",
     "The catalogue has a row, but nothing else that it should know of the file."},
    {kFactWithoutFile, "Facts without file", "Facts of a file that the catalogue does not know."},
    {kDamaged, "Damaged", "Their readers could not read these; <code>veluctl why FILE</code> tells why."},
    {kNoMetadata, "No metadata",
     "The reader found nothing in these; <code>veluctl dump FILE</code> tells why. Often the "
     "file is damaged."},
};

void ProblemWrite(HtmlWriter *html, const Problem &problem, const std::vector<const Finding *> &findings) {
    const bool mendable = std::any_of(findings.begin(), findings.end(),
                                      [](const Finding *finding) { return IsMendable(*finding); });
    html->Put("<details class=\"card wide problem\"><summary>")
        .Put(problem.title)
        .Put(" <span class=\"count\">");
    html->Text(CountText(static_cast<int64_t>(findings.size())))
        .Put("</span></summary>\n<p>")
        .Put(problem.advice);
    if (mendable)
        html->Put(" <code>sudo veluctl check --fix</code> mends it.");
    html->Put("</p>\n<ul class=\"paths\">\n");
    for (size_t at = 0; at < std::min(findings.size(), kPathsMax); ++at)
        html->Put("<li><bdi>").Text(findings[at]->path).Put("</bdi></li>\n");
    html->Put("</ul>\n");
    if (findings.size() > kPathsMax)
        html->Put("<p class=\"note\">and ")
            .Text(CountText(static_cast<int64_t>(findings.size() - kPathsMax)))
            .Put(" more, which <code>veluctl check</code> lists.</p>\n");
    html->Put("</details>\n");
}

} // namespace

void ProblemsWrite(Report *report) {
    if (report->total.files == 0 && report->findings.empty())
        return;
    SectionBegin(report, "problems", "Problems");
    if (!report->checked)
        report->html.Put("<p class=\"wide\">The catalogue was not compared with the disk for this page "
                         "(<code>--no-check</code>"
                         ").</p>\n");
    else if (report->findings.empty())
        report->html.Put(
            "<p class=\"good wide\">Catalogue, shares and covers agree: nothing wrong was found.</p>\n");
    for (const Problem &problem : kProblems) {
        std::vector<const Finding *> findings;
        for (const Finding &finding : report->findings) {
            if (finding.problem == std::string_view(problem.name))
                findings.push_back(&finding);
        }
        if (!findings.empty())
            ProblemWrite(&report->html, problem, findings);
    }
    SectionEnd(report);
}
