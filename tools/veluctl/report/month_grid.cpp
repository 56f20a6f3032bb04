// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/month_grid.h"

#include <math.h>

#include <algorithm>
#include <array>

#include "tools/veluctl/report/number_text.h"

namespace {

using Year = std::array<int64_t, kMonthsInYear>;

constexpr Literal kShades[] = {"<td>",
                               "<td class=\"s1\">",
                               "<td class=\"s2\">",
                               "<td class=\"s3\">",
                               "<td class=\"s4\">",
                               "<td class=\"s5\">"};

// One busy holiday is not to make all other months look alike: shades go by the root.
size_t ShadeOf(int64_t count, int64_t most) {
    constexpr size_t kDarkest = std::size(kShades) - 1;
    if (count <= 0)
        return 0;
    const double part = sqrt(static_cast<double>(count) / static_cast<double>(most));
    return std::min(static_cast<size_t>(ceil(part * kDarkest)), kDarkest);
}

void YearWrite(HtmlWriter *html, int number, const Year &year, int64_t most) {
    int64_t sum = 0;
    html->Put("<tr><th scope=\"row\">").Text(std::to_string(number)).Put("</th>");
    for (int month = 0; month < kMonthsInYear; ++month) {
        const int64_t count = year[static_cast<size_t>(month)];
        sum += count;
        html->Put(kShades[ShadeOf(count, most)]);
        if (count > 0) {
            html->Put("<span title=\"").Text(MonthText(MonthOf(number, month + 1)) + ": " + CountText(count));
            html->Put("\"><span class=\"unseen\">").Text(CountText(count)).Put("</span></span>");
        }
        html->Put("</td>");
    }
    html->Put("<td class=\"number\">").Text(CountText(sum)).Put("</td></tr>\n");
}

} // namespace

void MonthGridWrite(HtmlWriter *html, const std::map<Month, int64_t> &counts) {
    if (counts.empty())
        return;
    std::map<int, Year, std::greater<>> years;
    int64_t most = 0;
    for (const auto &[month, count] : counts) {
        years[YearOf(month)][static_cast<size_t>(month % kMonthsInYear)] += count;
        most = std::max(most, count);
    }
    html->Put("<article class=\"card wide\"><h3>By month taken</h3>\n<table class=\"months\"><thead><tr>"
              "<th scope=\"col\"><span class=\"unseen\">Year</span></th>");
    for (int month = 0; month < kMonthsInYear; ++month)
        html->Put("<th scope=\"col\"><abbr title=\"")
            .Text(MonthName(month))
            .Put("\">")
            .Text(std::string(1, *MonthName(month)))
            .Put("</abbr></th>");
    html->Put("<th scope=\"col\" class=\"number\">Year</th></tr></thead><tbody>\n");
    size_t lines = 0;
    int64_t left_out = 0;
    for (const auto &[number, year] : years) {
        if (lines++ < kGridYearsMax)
            YearWrite(html, number, year, most);
        else
            for (const int64_t count : year)
                left_out += count;
    }
    html->Put("</tbody></table>\n<p class=\"note\">The busiest month has ");
    html->Text(CountedText(most, "picture", "pictures")).Put(".");
    if (left_out > 0)
        html->Put(" ").Text(CountText(left_out)).Put(" are from the years before.");
    html->Put("</p></article>\n");
}
