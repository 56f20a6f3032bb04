// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/open_list.h"

#include "tools/veluctl/report/number_text.h"

namespace {

// Says how many are not here, and what lists them.
void RestWrite(HtmlWriter *html, const OpenList &list) {
    int64_t rest = list.in_all;
    for (const OpenListEntry &entry : list.entries)
        rest -= entry.stands_for;
    const bool has_command = !list.command.empty();
    if (rest <= 0 && !has_command)
        return;
    html->Put("<p class=\"note\">");
    if (rest > 0)
        html->Put("and ").Text(CountText(rest)).Put(has_command ? Literal(" more. ") : Literal(" more."));
    if (has_command)
        html->Put("All of them: <code>").Text(list.command).Put("</code>");
    html->Put("</p>\n");
}

} // namespace

void OpenListWrite(HtmlWriter *html, const OpenList &list) {
    if (list.entries.empty()) {
        html->Put("<p class=\"note\">").Text(list.summary).Put("</p>\n");
        return;
    }
    html->Put("<details class=\"list\"><summary>")
        .Text(list.summary)
        .Put("</summary>\n<ul class=\"paths\">\n");
    for (const OpenListEntry &entry : list.entries) {
        html->Put("<li><bdi>").Text(entry.name).Put("</bdi>");
        if (!entry.number.empty())
            html->Put(" <span class=\"soft\">").Text(entry.number).Put("</span>");
        html->Put("</li>\n");
    }
    html->Put("</ul>\n");
    RestWrite(html, list);
    html->Put("</details>\n");
}
