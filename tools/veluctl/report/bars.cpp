// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/bars.h"

#include <algorithm>

namespace {

constexpr double kFullWidth = 100;

void BarWrite(HtmlWriter *html, const Bar &bar, double longest, bool with_more) {
    html->Put("<tr><th scope=\"row\"><bdi title=\"").Text(bar.name).Put("\">").Text(bar.name);
    html->Put("</bdi></th><td class=\"bar\"><svg viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" "
              "aria-hidden=\"true\"><rect class=\"fill\" width=\"");
    html->Coordinate(longest > 0 ? kFullWidth * std::max(bar.value, 0.0) / longest : 0);
    html->Put("\" height=\"10\"/></svg></td><td class=\"number\">").Text(bar.number).Put("</td>");
    if (with_more)
        html->Put("<td class=\"number more\">").Text(bar.more).Put("</td>");
    html->Put("</tr>\n");
}

} // namespace

void BarsWrite(HtmlWriter *html, const Bars &bars) {
    if (bars.bars.empty())
        return;
    double longest = bars.longest;
    bool with_more = false;
    for (const Bar &bar : bars.bars) {
        longest = std::max(longest, bar.value);
        with_more = with_more || !bar.more.empty();
    }
    html->Put("<article class=\"card\"><h3>")
        .Put(bars.heading)
        .Put("</h3>\n<table class=\"bars ")
        .Put(with_more ? Literal("below") : Literal("beside"))
        .Put("\"><thead><tr>");
    html->Put("<th scope=\"col\">").Put(bars.names).Put("</th><td></td><th scope=\"col\" class=\"number\">");
    html->Put(bars.numbers).Put("</th>");
    if (with_more)
        html->Put("<th scope=\"col\" class=\"number more\">").Put(bars.more).Put("</th>");
    html->Put("</tr></thead><tbody>\n");
    for (const Bar &bar : bars.bars)
        BarWrite(html, bar, longest, with_more);
    html->Put("</tbody></table>\n");
    for (const OpenList &list : bars.lists)
        OpenListWrite(html, list);
    html->Put("</article>\n");
}
