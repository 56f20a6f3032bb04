// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is there more than once: recordings, and whatever else has the same bytes.
#include <algorithm>

#include "tools/veluctl/duplicates/equal_bytes.h"
#include "tools/veluctl/duplicates/recordings.h"
#include "tools/veluctl/options.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr size_t kCopiesShown = 40;
constexpr size_t kCopiesOfOneShown = 4; // so that a file that is there many times leaves room for others

// Files that are opened for a page: each costs a disk two places.
constexpr size_t kGlancesMost = 1000;

struct Copies {
    OpenList list = {};
    int64_t groups = 0;
    double freed = 0;

    void Add(const CopyGroup &group) {
        ++groups;
        list.in_all += static_cast<int64_t>(group.size());
        for (const CopyName &name : group)
            freed += static_cast<double>(name.freed);
        Show(group);
    }

    // `of`: what the groups are.
    void Write(HtmlWriter *html, const std::string &of) {
        if (groups == 0)
            return;
        list.summary = CountedText(list.in_all, "file", "files") + of + SizeText(freed) + " could be freed";
        OpenListWrite(html, list);
    }

private:
    void Show(const CopyGroup &group) {
        size_t shown = 0;
        for (; shown < std::min(group.size(), kCopiesOfOneShown) && list.entries.size() < kCopiesShown;
             ++shown)
            list.entries.push_back({group[shown].path, SizeText(static_cast<double>(group[shown].size))});
        const auto rest = static_cast<int64_t>(group.size() - shown);
        if (shown == kCopiesOfOneShown && rest > 0)
            list.entries.push_back({"and " + CountText(rest) + " more of it", {}, rest});
    }
};

// What was compared, and what was not.
void NoteWrite(Report *report, const CopySearch &search) {
    report->html.Put("<p class=\"note\">");
    if (!report->checked)
        report->html.Put(
            "Films, pictures and other files were not compared, since the disk was left alone. ");
    if (search.passed > 0)
        report->html.Text(CountedText(static_cast<int64_t>(search.passed), "file was", "files were"))
            .Put(" not compared, since there are so many of one size. ");
    report->html.Put("<code>veluctl duplicates files</code> compares all bytes, which takes its time.</p>\n");
}

} // namespace

// The disk is asked as little as the rest of the page asks it.
void CopiesWrite(Report *report) {
    if (report->tallies.failed)
        return;
    Copies recordings = {.list = {{}, 0, "veluctl duplicates recordings"}};
    Copies files = {.list = {{}, 0, "veluctl duplicates files"}};
    CopiesTold told;
    CopySearch search = {.reader = report->tallies.reader,
                         .directory = {},
                         .take =
                             [&](const CopyGroup &group) {
                                 told.Add(group);
                                 recordings.Add(group);
                                 return true;
                             },
                         .left_out = [](const std::string &, const std::string &) {},
                         .reading = [](uint64_t, uint64_t, const std::string &) {},
                         .glances = kGlancesMost};
    report->tallies.failed = !RecordingsFind(&search, kToleranceSeconds);
    search.take = [&](const CopyGroup &group) {
        if (!told.Has(group))
            files.Add(group);
        return true;
    };
    if (!report->tallies.failed && report->checked)
        report->tallies.failed = !EqualBytesFind(&search);
    if (recordings.groups + files.groups == 0)
        return;
    CardBegin(report, "Duplicates");
    report->html.Put("<p>Songs of the same artist and title that are equally long; films, pictures and other "
                     "files of the same size, begin and end.</p>\n");
    recordings.Write(&report->html,
                     " of " + CountedText(recordings.groups, "recording", "recordings") + "; ");
    files.Write(&report->html, ", of which " + CountText(files.groups) + " would do; ");
    NoteWrite(report, search);
    CardEnd(report);
}
