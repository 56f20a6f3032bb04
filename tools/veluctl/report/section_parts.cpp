// SPDX-License-Identifier: GPL-2.0-or-later
//
// What sections share.
#include <stdlib.h>

#include <algorithm>

#include "tools/veluctl/report/bars.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr size_t kFormats = 16;
constexpr size_t kOthersMax = 100; // of the names behind the favourites

} // namespace

void SectionBegin(Report *report, Literal anchor, Literal title) {
    report->html.Put("<section id=\"").Put(anchor).Put("\" class=\"").Put(anchor).Put("\"><h2>").Put(title);
    report->html.Put("</h2>\n<div class=\"cards\">\n");
}

void SectionEnd(Report *report) {
    report->html.Put("</div></section>\n");
}

void CardBegin(Report *report, Literal heading) {
    report->html.Put("<article class=\"card\"><h3>").Put(heading).Put("</h3>\n");
}

void CardEnd(Report *report) {
    report->html.Put("</article>\n");
}

void FormatsWrite(Report *report, Kind kind) {
    Bars bars = {"Formats", "Extension", "Files", "Size"};
    const std::vector<Group> &groups = report->kinds[kind].formats.groups;
    for (size_t at = 0; at < std::min(groups.size(), kFormats); ++at)
        bars.bars.push_back({groups[at].name.empty() ? "none" : groups[at].name,
                             static_cast<double>(groups[at].files), CountText(groups[at].files),
                             SizeText(groups[at].bytes)});
    if (groups.size() > kFormats) {
        OpenList others = {"and " +
                               CountedText(static_cast<int64_t>(groups.size() - kFormats), "other", "others"),
                           static_cast<int64_t>(groups.size() - kFormats), "veluctl stats --json"};
        for (size_t at = kFormats; at < std::min(groups.size(), kFormats + kOthersMax); ++at)
            others.entries.push_back({groups[at].name, CountText(groups[at].files)});
        bars.lists.push_back(std::move(others));
    }
    BarsWrite(&report->html, bars);
}

void FavouritesWrite(Report *report, const Favourites &favourites, const TallyQuery &query) {
    TallyQuery limited = query;
    limited.limit = favourites.shown + kOthersMax;
    const Tally tally = TallyTake(&report->tallies, limited);
    Bars bars = {favourites.heading, favourites.names, "Files", "Size"};
    OpenList others = {{}, tally.groups_in_all - static_cast<int64_t>(favourites.shown), favourites.command};
    others.summary = "and " + CountedText(others.in_all, "other", "others");
    for (const Group &group : tally.groups) {
        const std::string name = favourites.name != nullptr ? favourites.name(group.name) : group.name;
        if (bars.bars.size() < favourites.shown)
            bars.bars.push_back(
                {name, static_cast<double>(group.files), CountText(group.files), SizeText(group.bytes)});
        else
            others.entries.push_back({name, CountText(group.files)});
    }
    if (others.in_all > 0)
        bars.lists.push_back(std::move(others));
    BarsWrite(&report->html, bars);
}

void HistogramWrite(Report *report, const Histogram &histogram, const Tally &tally,
                    double (*value)(const std::string &name)) {
    std::vector<int64_t> files(histogram.classes.size());
    int64_t unknown = 0;
    for (const Group &group : tally.groups) {
        const double number = value(group.name);
        if (!(number > 0)) {
            unknown += group.files;
            continue;
        }
        const auto found = std::find_if(histogram.classes.begin(), histogram.classes.end() - 1,
                                        [=](const ValueClass &one) { return number <= one.upper; });
        files[static_cast<size_t>(found - histogram.classes.begin())] += group.files;
    }
    // Classes within the distribution stay when they are empty: they are part of its shape.
    const auto is_there = [](int64_t count) { return count > 0; };
    const auto first = std::find_if(files.begin(), files.end(), is_there);
    const auto last = std::find_if(files.rbegin(), files.rend(), is_there).base();
    Bars bars = {histogram.heading, histogram.names, histogram.numbers};
    for (auto count = first; count < last; ++count)
        bars.bars.push_back({histogram.classes[static_cast<size_t>(count - files.begin())].name,
                             static_cast<double>(*count), CountText(*count)});
    if (unknown > 0)
        bars.lists.push_back(PathsTake(&report->tallies, CountText(unknown) + " " + histogram.unknown,
                                       unknown, histogram.lacking));
    BarsWrite(&report->html, bars);
}

double PlainValue(const std::string &name) {
    return strtod(name.c_str(), nullptr);
}
