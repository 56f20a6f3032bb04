// SPDX-License-Identifier: GPL-2.0-or-later
//
// The page's head: what it is of, the big figures, and the ways to its sections; and its foot.
#include <unistd.h>

#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/page_style.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr size_t kHostNameSize = 256; // what a name of the system can have, with its end

std::string HostName() {
    char name[kHostNameSize] = "";
    if (gethostname(name, sizeof name - 1) != 0 || *name == '\0')
        return "this machine";
    return name;
}

std::string DateText(time_t time) {
    struct tm local = {};
    char text[64] = "";
    if (localtime_r(&time, &local) != nullptr)
        strftime(text, sizeof text, "%e %B %Y, %H:%M", &local);
    return *text == ' ' ? text + 1 : text;
}

void FigureWrite(HtmlWriter *html, Literal style, Literal name, const std::string &number,
                 const std::string &more) {
    html->Put("<div class=\"").Put(style).Put("\"><dt>").Put(name).Put("</dt><dd>").Text(number);
    if (!more.empty())
        html->Put(" <span>").Text(more).Put("</span>");
    html->Put("</dd></div>\n");
}

void KindFigureWrite(Report *report, Kind kind, Literal name) {
    const KindFacts &facts = report->kinds[kind];
    if (facts.total.files > 0)
        FigureWrite(&report->html, facts.anchor, name, CountText(facts.total.files),
                    facts.total.seconds > 0 ? PlayingTimeText(facts.total.seconds)
                                            : SizeText(facts.total.bytes));
}

void WayWrite(HtmlWriter *html, Literal anchor, Literal title) {
    html->Put("<a href=\"#").Put(anchor).Put("\">").Put(title).Put("</a>\n");
}

void WaysWrite(Report *report) {
    HtmlWriter *html = &report->html;
    html->Put("<nav aria-label=\"Sections\">\n");
    WayWrite(html, "kinds", "Overview");
    WayWrite(html, "growth", "Growth");
    for (const Kind kind : {kMusic, kFilms, kPictures}) {
        if (report->kinds[kind].total.files > 0)
            WayWrite(html, report->kinds[kind].anchor, report->kinds[kind].title);
    }
    WayWrite(html, "notable", "Worth a look");
    WayWrite(html, "problems", "Problems");
    html->Put("</nav>\n");
}

} // namespace

void HeadWrite(Report *report) {
    const std::string host = HostName();
    HtmlWriter *html = &report->html;
    html->Put("<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
              "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
              "style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
              "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
              "<meta name=\"color-scheme\" content=\"light dark\">\n<meta name=\"referrer\" "
              "content=\"no-referrer\">\n"
              "<meta name=\"robots\" content=\"noindex\">\n<link rel=\"icon\" href=\"data:,\">\n<title>Media "
              "library of ");
    html->Text(host).Put("</title>\n<style>").Put(kPageStyle).Put("</style>\n</head>\n<body>\n<header>\n");
    html->Put("<p class=\"eyebrow\">Media library</p>\n<h1><bdi>")
        .Text(host)
        .Put("</bdi></h1>\n<p class=\"made\">");
    html->Text(DateText(report->now)).Put("</p>\n");
    if (report->total.files > 0) {
        html->Put("<dl class=\"figures\">\n");
        KindFigureWrite(report, kMusic, "Tracks");
        KindFigureWrite(report, kFilms, "Films");
        KindFigureWrite(report, kPictures, "Pictures");
        FigureWrite(html, "all", "Everything", SizeText(report->total.bytes),
                    CountedText(report->total.files, "file", "files"));
        html->Put("</dl>\n");
        WaysWrite(report);
    }
    html->Put("</header>\n<main>\n");
    if (report->total.files == 0)
        html->Put("<section class=\"empty\"><h2>Nothing is catalogued yet</h2>\n<p>Put music, films and "
                  "pictures into "
                  "the shares, then have them indexed:</p>\n<pre>sudo veluctl reindex all --wait</pre>\n"
                  "<p>and make this page again.</p></section>\n");
}

void FootWrite(Report *report) {
    report->html.Put(
        "</main>\n<footer><p>Made by <code>veluctl report</code> from the catalogue of veluindexd. "
        "Sizes count in powers of ten; times are local.</p></footer>\n</body>\n</html>\n");
}
